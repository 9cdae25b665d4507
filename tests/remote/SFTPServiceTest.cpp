// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPService.h"
#include "support/FakeProcessRunner.h"
#include "support/Shorthand.h"
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

using Operation = std::function<void(SFTPService &)>;

const QString longFolder = u'/' + QString(700, u'x');

FileItem folder(const QString &path)
{
    FileItem item;
    item.path = path;
    item.isDirectory = true;
    return item;
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

Q_DECLARE_METATYPE(Operation)

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
        QTest::addColumn<Operation>("operation");
        const auto row = [](const char *line, const Operation &operation) { QTest::newRow(line) << operation; };
        row("ls -l \"/d\"", [](auto &s) { s.list(u"/d"_s, HiddenFiles::asTheSourceDoes, neverStops); });
        row("ls -la \"/d\"", [](auto &s) { s.list(u"/d"_s, HiddenFiles::included, neverStops); });
        row(qPrintable(u"cd \"%1\"\nls -la"_s.arg(longFolder)),
            [](auto &s) { s.list(longFolder, HiddenFiles::included, neverStops); });
        row("ssh: rm -rf \"/d/f \\\"x\\\"\"", [](auto &s) { s.remove(folder(u"/d/f \"x\""_s), neverStops); });
        row("ssh: chmod -R 755 \"/d\"",
            [](auto &s) { s.setPermissions(u"/d"_s, u"755"_s, Recursive::yes, neverStops); });
        row("get \"/d\" \"/l\"", [](auto &s) { s.download(u"/d"_s, u"/l"_s, {}, neverStops); });
        row("get -p \"/d\" \"/l\"", [](auto &s) { s.download(u"/d"_s, u"/l"_s, {true, {}}, neverStops); });
        row("put -p \"/l\" \"/d\"", [](auto &s) { s.upload(u"/l"_s, u"/d"_s, {true, {}}, neverStops); });
        row("ssh: cp -r \"/d\" '/$e'", [](auto &s) { s.copyRemote(u"/d"_s, u"/$e"_s, neverStops); });
        row("rename \"/d\" \"/e\"", [](auto &s) { s.moveRemote(u"/d"_s, u"/e"_s, neverStops); });
    }

    void operationsSendTheirLine()
    {
        QFETCH(Operation, operation);
        m_service->connect(neverStops);
        QCOMPARE(m_clients->requests().constLast().environment->value(u"LC_CTYPE"_s), u"C.UTF-8"_s);
        operation(*m_service);
        QByteArrayList sent;
        for (const ProcessRequest &request : m_clients->requests()) {
            const bool isShell = request.program == u"/usr/bin/ssh"_s;
            sent << (isShell ? "ssh: " + request.arguments.last().toUtf8() : request.standardInput);
        }
        const QByteArray line(QTest::currentDataTag());
        QVERIFY2(sent.contains(line.startsWith("ssh: ") ? line : line + "\nquit\n"), sent.join('\n').constData());
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
        const FileItem item = folder(u"/a\nb"_s);
        QCOMPARE(messageOf([&] { m_service->remove(item, neverStops); }),
                 u"Path contains invalid control characters."_s);
        const QString longPath = u'/' + QString(2040, u'x');
        QVERIFY(messageOf([&] { m_service->createDirectory(longPath, neverStops); }).contains(u"this one has 2049"_s));
        QVERIFY(!messageOf([&] { m_service->rename(item, u"a/b"_s, neverStops); }).isEmpty());
        QVERIFY(!messageOf([&] { m_service->setPermissions(u"/a"_s, u"u+x"_s, Recursive::no, neverStops); }).isEmpty());
        QCOMPARE(m_clients->requests().size(), started);
    }

private:
    std::shared_ptr<FakeProcessRunner> m_clients;
    std::unique_ptr<SFTPService> m_service;
};

MOORIX_TEST(SFTPServiceTest)
#include "SFTPServiceTest.moc"
