// SPDX-License-Identifier: GPL-3.0-or-later
// Reading whole trees from servers near and far away, against folder by folder and against lftp. Every answer is
// counted.
#include "Paired.h"

#include "remote/FTPService.h"
#include "remote/SFTPService.h"
#include "remote/SSHAuthHelper.h"
#include "support/DelayProxy.h"
#include "support/FTPServer.h"
#include "support/TestServer.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <iostream>
#include <stdexcept>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

enum Place { withShell, withoutShell, vsftpd, proftpd };
constexpr int folders = 200;
constexpr int filesEach = 100;

/// A server, near or at the end of a long line, a connection that is up, and 200 folders of 100 files.
class Line final
{
public:
    Line(Place place, int roundTripMilliseconds)
        : m_isFTP(place == vsftpd || place == proftpd)
    {
        using Server = test::FTPServer;
        QString shared;
        if (m_isFTP) {
            m_ftp = std::make_unique<Server>(place == vsftpd ? Server::Program::vsftpd : Server::Program::proftpd,
                                             Server::Encryption::none);
            m_record = m_ftp->connection();
            shared = m_ftp->sharedPath();
        } else {
            m_ssh = std::make_unique<test::TestServer>();
            m_record = m_ssh->connection();
            shared = m_ssh->sharedPath();
            m_record.username = place == withShell ? test::TestServer::user() : test::TestServer::userWithoutShell();
        }
        if (roundTripMilliseconds > 0) {
            m_proxy = std::make_unique<test::DelayProxy>(
                m_record.port, std::chrono::milliseconds(roundTripMilliseconds),
                m_isFTP ? test::DelayProxy::Speaks::ftp : test::DelayProxy::Speaks::anything);
            m_record.port = m_proxy->port();
        }
        m_folder = shared + u"/tree"_s;
        for (int i = 0; i < folders; ++i) {
            const QString folder = u"%1/%2"_s.arg(m_folder).arg(i);
            QDir().mkpath(folder);
            for (int file = 0; file < filesEach; ++file)
                QFile(u"%1/file %2"_s.arg(folder).arg(file)).open(QIODevice::WriteOnly);
        }
        if (m_isFTP)
            m_service =
                std::make_unique<FTPService>(m_record, Server::credentials(), std::make_shared<SystemProcessRunner>());
        else
            m_service = std::make_unique<SFTPService>(m_record, ConnectionCredentials(),
                                                      std::make_shared<test::IsolatedClients>(m_ssh->knownHostsPath()));
        m_service->connect({});
    }
    ~Line() { m_service->disconnect(); }

    void readTree() const { count(m_service->listTree(m_folder, {}, {})); }
    void readFolderByFolder() const { count(ListedTree::byFolders(*m_service, m_folder, {}, {})); }
    void readByLftp() const
    {
        QString password = m_isFTP ? test::FTPServer::credentials().password.value_or(QString()) : u"x"_s;
        password.replace(u'\\', u"\\\\"_s);
        const QString commands = u"set sftp:auto-confirm yes; set ftp:ssl-allow no; "
                                 "set sftp:connect-program \"%1\"; open -u '%2','%3' %4://127.0.0.1:%5; find -l %6"_s;
        ProcessRequest request;
        request.program = u"lftp"_s;
        request.arguments = {u"--norc"_s, u"-c"_s,
                             commands.arg(m_isFTP ? QString() : ssh(), m_record.username, password,
                                          m_isFTP ? u"ftp"_s : u"sftp"_s, QString::number(m_record.port), m_folder)};
        const ProcessResult result = SystemProcessRunner().run(request, {});
        if (result.exitCode != 0 || result.standardOutput.count("/file ") != folders * filesEach)
            throw std::runtime_error("lftp has not listed everything: " + result.standardError.toStdString());
    }

private:
    static void count(const ListedTree &tree)
    {
        qsizetype entries = 0;
        for (const QList<FileItem> &items : tree.folders)
            entries += items.size();
        if (entries != folders * (filesEach + 1) || !tree.unread.isEmpty())
            throw std::runtime_error("The tree is not all there.");
    }
    /// Over the same shared connection.
    QString ssh() const
    {
        return u"ssh -a -x -p %1 -F none -o UserKnownHostsFile=%2 "_s.arg(m_record.port).arg(m_ssh->knownHostsPath()) +
               SSHAuthHelper::authOptions(m_record, m_record.privateKeyPath, SSHAuthHelper::Multiplex::yes,
                                          SSHAuthHelper::Interactive::no)
                   .join(u' ');
    }

    bool m_isFTP;
    std::unique_ptr<test::TestServer> m_ssh;
    std::unique_ptr<test::FTPServer> m_ftp;
    std::unique_ptr<test::DelayProxy> m_proxy;
    ServerConnection m_record;
    QString m_folder;
    std::unique_ptr<RemoteFileService> m_service;
};

void againstFolderByFolder(benchmark::State &state)
{
    const Line line(Place(state.range(0)), int(state.range(1)));
    bench::paired(
        state, [&] { line.readTree(); }, [&] { line.readFolderByFolder(); }, 0.5, bench::WarmUp::no);
}

void againstLftp(benchmark::State &state)
{
    const Line line(Place(state.range(0)), int(state.range(1)));
    bench::paired(
        state, [&] { line.readTree(); }, [&] { line.readByLftp(); }, 1, bench::WarmUp::no);
}

void everywhere(benchmark::internal::Benchmark *benchmark)
{
    benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->ArgNames({"place", "ms"});
    for (const int place : {withShell, withoutShell, vsftpd, proftpd}) {
        for (const int roundTrip : {0, 30})
            benchmark->Args({place, roundTrip});
    }
}
// One takes more than a minute.
BENCHMARK(againstFolderByFolder)->Apply(everywhere)->Iterations(1);
BENCHMARK(againstLftp)->Apply(everywhere)->Iterations(3);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception &error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
