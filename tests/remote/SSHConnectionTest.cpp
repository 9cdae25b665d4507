// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/ControlSocket.h"
#include "remote/SFTPService.h"
#include "support/DelayProxy.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "support/TestTree.h"

#include <QDir>

#include <csignal>
#include <future>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace moorix::test;

namespace {

/// The process with exactly this command line, its words with blanks between; 0 when there is none.
qint64 processWith(const QByteArray &commandLine)
{
    for (const QString &process : QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs)) {
        if (contentOf(u"/proc/%1/cmdline"_s.arg(process)).replace('\0', ' ') == commandLine + ' ')
            return process.toLongLong();
    }
    return 0;
}

} // namespace

/// When the shared connection to a server ends, or what goes over it.
class SSHConnectionTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_sshd = std::make_unique<TestServer>();
        m_clients = std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
    }

    void cleanupTestCase() { m_sshd.reset(); }

    void removalThatIsStoppedEndsOnTheServer()
    {
        const QTemporaryDir folder;
        constexpr int files = 30000;
        const QString tree = folder.filePath(u"tr.ee (1)"_s);
        const QByteArray first = QFile::encodeName(tree + u"/0"_s);
        QVERIFY(QDir().mkdir(tree));
        putFile(tree + u"/0"_s, "x");
        for (int i = 1; i < files; ++i)
            QVERIFY(::link(first.constData(), QFile::encodeName(tree + u"/%1"_s.arg(i)).constData()) == 0);
        const auto service = m_sshd->service();
        std::stop_source source;
        auto removal =
            std::async(std::launch::async, [&] { service->remove(entryAt(tree + u'/'), source.get_token()); });
        const QByteArray commandLine = "rm -rf " + tree.toUtf8();
        qint64 process = 0;
        while (process == 0 && removal.wait_for(std::chrono::seconds(0)) == std::future_status::timeout)
            process = processWith(commandLine);
        QVERIFY(process > 0 && ::kill(pid_t(process), SIGSTOP) == 0);
        source.request_stop();
        QVERIFY_THROWS_EXCEPTION(Cancelled, removal.get());
        const qsizetype left = QDir(tree).count();
        QVERIFY(::kill(pid_t(process), SIGCONT) == 0);
        QTRY_VERIFY(processWith(commandLine) == 0);
        QVERIFY(left > 2 && qsizetype(QDir(tree).count()) == left);
        service->disconnect();
    }

    void deadLineIsNoticedAndASilentCommandIsNot()
    {
        DelayProxy proxy(m_sshd->port());
        ServerConnection server = m_sshd->connection();
        server.port = proxy.port();
        SFTPService service(server, {}, m_clients, {400ms, 1600ms});
        service.connect(neverStops);
        QCOMPARE(service.commandOutput(u"sleep 1; echo done"_s, neverStops), u"done\n"_s);
        const auto list = [&] { service.list(u"/"_s, HiddenFiles::included, neverStops); };
        proxy.stall();
        QCOMPARE(messageOf(list), u"Could not connect: 127.0.0.1 has not answered for 2 seconds."_s);
        proxy.resume();
        QCOMPARE(messageOf(list), QString());
        service.disconnect();
    }

    void disconnectingLeavesTheConnectionToOtherServices()
    {
        const ServerConnection server = m_sshd->connection();
        SFTPService first(server, {}, m_clients);
        SFTPService second(server, {}, m_clients);
        first.connect(neverStops);
        second.connect(neverStops);
        first.disconnect();
        QVERIFY(ControlSocket::isPresent(server));
        second.disconnect();
        QVERIFY(!ControlSocket::isPresent(server));
    }

    void twoUsersOfOneRecordNeverShareAConnection()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can give the test server accounts.");
        ServerConnection server = m_sshd->connection();
        SFTPService first(server, {}, m_clients);
        first.connect(neverStops);
        QVERIFY(ControlSocket::isPresent(server));
        server.username = TestServer::user();
        SFTPService second(server, {}, m_clients);
        second.connect(neverStops);
        QVERIFY(second.defaultDirectory(neverStops).endsWith(u'/' + TestServer::user()));
        const QString file = m_sshd->sharedPath() + u"/whose"_s;
        second.write("x", file, neverStops);
        QVERIFY(QFileInfo(file).ownerId() != ::getuid());
        first.disconnect();
        second.disconnect();
    }

    void socketOfSomebodyElseIsNeverUsed()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can give the test server accounts.");
        const ServerConnection server = m_sshd->connection();
        const QByteArray path = QFile::encodeName(ControlSocket::path(server));
        const int trap = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        QVERIFY(::bind(trap, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0);
        QVERIFY(::listen(trap, 1) == 0 && ::chown(path.constData(), 64001, 64001) == 0);
        QVERIFY(::chmod(path.constData(), 0777) == 0);
        SFTPService service(server, {}, m_clients);
        service.connect(neverStops);
        QVERIFY(service.isConnected());
        service.disconnect();
        QVERIFY(QFile::exists(ControlSocket::path(server)));
        ::close(trap);
        ::unlink(path.constData());
    }

private:
    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
};

MOORIX_TEST(SSHConnectionTest)
#include "SSHConnectionTest.moc"
