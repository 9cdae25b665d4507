// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "remote/SFTPService.h"
#include "support/FakeProcessRunner.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

ServerConnection record()
{
    ServerConnection server;
    server.host = u"host.example"_s;
    server.username = u"ada"_s;
    server.port = 2200;
    server.authMethod = AuthMethod::agent;
    return server;
}

const QByteArray home = "sftp> pwd\nRemote working directory: /home/ada\n";

/// Answers like an empty server on which everything succeeds.
ProcessResult emptyServer(const ProcessRequest &request)
{
    if (request.standardInput.startsWith("pwd"))
        return FakeProcessRunner::success(home);
    if (request.standardInput.startsWith("ls -la") && request.standardInput.contains("{,}"))
        return {0, false, "sftp> quit\n", "Connected to h.\nCan't ls: \"x\" not found\r\n"};
    if (request.standardInput.contains("ls -la"))
        return FakeProcessRunner::success("drwxr-xr-x    ? a b 1 Mar  1 10:00 .\n");
    return FakeProcessRunner::success();
}

} // namespace

/// What the service asks the clients to do, to the character; how they really answer is RealServerTest's.
class SFTPServiceTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_clients = std::make_shared<FakeProcessRunner>(emptyServer);
        m_service = std::make_unique<SFTPService>(record(), ConnectionCredentials(), m_clients);
    }

    void operationsSendTheirLine_data()
    {
        QTest::addColumn<std::function<void(SFTPService &)>>("operation");
        QTest::addColumn<QString>("line");
        using Operation = std::function<void(SFTPService &)>;
        FileItem folder;
        folder.path = u"/d/f \"x\""_s;
        folder.isDirectory = true;
        const auto row = [](const char *name, const Operation &operation, const char *line) {
            QTest::newRow(name) << operation << QString::fromUtf8(line);
        };
        const QString d = u"/d"_s;
        const QString local = u"/l"_s;
        row(
            "list", [=](auto &s) { s.list(d, HiddenFiles::asTheSourceDoes, neverStops); }, "ls -l \"/d\"");
        row(
            "list all", [=](auto &s) { s.list(d, HiddenFiles::included, neverStops); }, "ls -la \"/d\"");
        row(
            "folder", [=](auto &s) { s.remove(folder, neverStops); }, "ssh: rm -rf \"/d/f \\\"x\\\"\"");
        row(
            "tree", [=](auto &s) { s.setPermissions(d, u"755"_s, Recursive::yes, neverStops); },
            "ssh: chmod -R 755 \"/d\"");
        row(
            "download", [=](auto &s) { s.download(d, local, {}, neverStops); }, "get \"/d\" \"/l\"");
        row(
            "download with times",
            [=](auto &s) {
                s.download(d, local, {true, {}}, neverStops);
            },
            "get -p \"/d\" \"/l\"");
        row(
            "upload with times",
            [=](auto &s) {
                s.upload(local, d, {true, {}}, neverStops);
            },
            "put -p \"/l\" \"/d\"");
        row(
            "copy", [=](auto &s) { s.copyRemote(d, u"/$e"_s, neverStops); }, "ssh: cp -r \"/d\" '/$e'");
        row(
            "move", [=](auto &s) { s.moveRemote(d, u"/e"_s, neverStops); }, "rename \"/d\" \"/e\"");
    }

    void operationsSendTheirLine()
    {
        QFETCH(std::function<void(SFTPService &)>, operation);
        QFETCH(QString, line);
        m_service->connect(neverStops);
        QCOMPARE(m_clients->requests().constLast().environment->value(u"LC_CTYPE"_s), u"C.UTF-8"_s);
        operation(*m_service);
        QStringList sent;
        for (const ProcessRequest &request : m_clients->requests()) {
            const bool isShell = request.program == u"/usr/bin/ssh"_s;
            sent << (isShell ? u"ssh: "_s + request.arguments.last() : QString::fromUtf8(request.standardInput));
        }
        QVERIFY2(sent.contains(line.startsWith(u"ssh: "_s) ? line : line + u"\nquit\n"_s),
                 qPrintable(sent.join(u'\n')));
    }

    void failedClientIsAFailedConnection()
    {
        const auto messageAfter = [](const ProcessResult &result) {
            SFTPService service(record(), {},
                                std::make_shared<FakeProcessRunner>([=](const ProcessRequest &) { return result; }));
            const QString message = messageOf([&] { service.connect(neverStops); });
            return service.isConnected() ? u"connected"_s : message;
        };
        QCOMPARE(messageAfter({255, false, {}, " something new \r\n"}), u"Could not connect: something new"_s);
        QCOMPARE(messageAfter({255, false, {}, {}}), u"Could not connect: sftp exited with code 255"_s);
        QCOMPARE(messageAfter({9, true, {}, {}}),
                 u"Could not connect: sftp was ended by signal 9; the connection was probably lost"_s);
        QVERIFY(messageAfter(FakeProcessRunner::success("?\n")).startsWith(u"Could not connect"_s)); // names no home
    }

    void nothingIsDoneWithoutAConnection()
    {
        const auto list = [this] { m_service->list(u"/"_s, HiddenFiles::included, neverStops); };
        QVERIFY(caseOf(list) == FileServiceError::Case::notConnected);
        m_service->connect(neverStops);
        QVERIFY(!caseOf(list));
        m_service->disconnect();
        QVERIFY(caseOf(list) == FileServiceError::Case::notConnected);
    }

    void refusedPathsStartNoProcess()
    {
        m_service->connect(neverStops);
        const auto started = m_clients->requests().size();
        FileItem item;
        item.path = u"/a\nb"_s;
        QCOMPARE(messageOf([&] { m_service->remove(item, neverStops); }),
                 u"Path contains invalid control characters."_s);
        const QString longPath = u'/' + QString(2040, u'x');
        QVERIFY(messageOf([&] { m_service->createDirectory(longPath, neverStops); }).contains(u"this one has 2049"_s));
        QVERIFY(!messageOf([&] { m_service->rename(item, u"a/b"_s, neverStops); }).isEmpty());
        QVERIFY(!messageOf([&] { m_service->setPermissions(u"/a"_s, u"u+x"_s, Recursive::no, neverStops); }).isEmpty());
        QCOMPARE(m_clients->requests().size(), started);
    }

    void longFolderIsListedFromInside()
    {
        m_service->connect(neverStops);
        const QString folder = u'/' + QString(700, u'x');
        m_service->list(folder, HiddenFiles::included, neverStops);
        QCOMPARE(QString::fromUtf8(m_clients->requests().constLast().standardInput),
                 u"cd \"%1\"\nls -la\nquit\n"_s.arg(folder));
    }

private:
    std::shared_ptr<FakeProcessRunner> m_clients;
    std::unique_ptr<SFTPService> m_service;
};

Q_DECLARE_METATYPE(std::function<void(moorix::SFTPService &)>)

MOORIX_TEST(SFTPServiceTest)
#include "SFTPServiceTest.moc"
