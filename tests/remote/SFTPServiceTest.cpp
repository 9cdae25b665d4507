// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "remote/SFTPService.h"
#include "support/FakeProcessRunner.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace moorix::test;

namespace {

ServerConnection record()
{
    ServerConnection server;
    server.host = QStringLiteral("host.example");
    server.username = QStringLiteral("ada");
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

    void everyOperationSendsItsLine_data()
    {
        QTest::addColumn<std::function<void(SFTPService &)>>("operation");
        QTest::addColumn<QString>("line");
        using Operation = std::function<void(SFTPService &)>;
        FileItem file;
        file.path = QStringLiteral("/d/f \"x\"");
        FileItem folder = file;
        folder.isDirectory = true;
        const auto row = [](const char *name, const Operation &operation, const char *line) {
            QTest::newRow(name) << operation << QString::fromUtf8(line);
        };
        const QString d = QStringLiteral("/d");
        const QString local = QStringLiteral("/l");
        row(
            "list", [=](auto &s) { s.list(d, HiddenFiles::asTheSourceDoes, neverStops); }, "ls -l \"/d\"");
        row(
            "list all", [=](auto &s) { s.list(d, HiddenFiles::included, neverStops); }, "ls -la \"/d\"");
        row(
            "mkdir", [=](auto &s) { s.createDirectory(d, neverStops); }, "mkdir \"/d\"");
        row(
            "rm", [=](auto &s) { s.remove(file, neverStops); }, "rm \"/d/f \\\"x\\\"\"");
        row(
            "rm -rf", [=](auto &s) { s.remove(folder, neverStops); }, "ssh: rm -rf \"/d/f \\\"x\\\"\"");
        row(
            "rename", [=](auto &s) { s.rename(file, QStringLiteral("g"), neverStops); },
            "rename \"/d/f \\\"x\\\"\" \"/d/g\"");
        row(
            "chmod", [=](auto &s) { s.setPermissions(d, QStringLiteral("755"), Recursive::no, neverStops); },
            "chmod 755 \"/d\"");
        row(
            "chmod -R", [=](auto &s) { s.setPermissions(d, QStringLiteral("755"), Recursive::yes, neverStops); },
            "ssh: chmod -R 755 \"/d\"");
        row(
            "get", [=](auto &s) { s.download(d, local, {}, neverStops); }, "get \"/d\" \"/l\"");
        row(
            "put", [=](auto &s) { s.upload(local, d, {}, neverStops); }, "put \"/l\" \"/d\"");
        row(
            "get -p",
            [=](auto &s) {
                s.download(d, local, {true, {}}, neverStops);
            },
            "get -p \"/d\" \"/l\"");
        row(
            "get -r", [=](auto &s) { s.downloadRecursive(d, local, neverStops); }, "get -r \"/d\" \"/l\"");
        row(
            "put -r", [=](auto &s) { s.uploadRecursive(local, d, neverStops); }, "put -r \"/l\" \"/d\"");
        row(
            "cp", [=](auto &s) { s.copyRemote(d, QStringLiteral("/$e"), neverStops); }, "ssh: cp -r \"/d\" '/$e'");
        row(
            "mv", [=](auto &s) { s.moveRemote(d, QStringLiteral("/e"), neverStops); }, "rename \"/d\" \"/e\"");
    }

    void everyOperationSendsItsLine()
    {
        QFETCH(std::function<void(SFTPService &)>, operation);
        QFETCH(QString, line);
        m_service->connect(neverStops);
        operation(*m_service);
        QStringList sent;
        for (const ProcessRequest &request : m_clients->requests()) {
            const bool isShell = request.program == QStringLiteral("/usr/bin/ssh");
            sent << (isShell ? QStringLiteral("ssh: ") + request.arguments.last()
                             : QString::fromUtf8(request.standardInput));
        }
        QVERIFY2(sent.contains(line.startsWith(QStringLiteral("ssh: ")) ? line : line + QStringLiteral("\nquit\n")),
                 qPrintable(sent.join(u'\n')));
    }

    void clientsAreStartedWithOptionsAndDestination()
    {
        m_service->connect(neverStops);
        const ProcessRequest request = m_clients->requests().constLast();
        QCOMPARE(request.program, QStringLiteral("/usr/bin/sftp"));
        QCOMPARE(request.arguments.mid(request.arguments.size() - 3).join(u' '),
                 QStringLiteral("-P 2200 ada@host.example"));
        QVERIFY(request.arguments.contains(QStringLiteral("ControlPersist=120")));
        QCOMPARE(request.environment->value(QStringLiteral("LC_CTYPE")), QStringLiteral("C.UTF-8"));
        QCOMPARE(m_service->defaultDirectory(neverStops), QStringLiteral("/home/ada"));
    }

    void failedClientIsAFailedConnection_data()
    {
        QTest::addColumn<QByteArray>("said");
        QTest::addColumn<bool>("crashed");
        QTest::addColumn<QString>("message");
        QTest::newRow("in its words") << QByteArray(" something new \r\n") << false
                                      << "Could not connect: something new";
        QTest::newRow("silent") << QByteArray() << false << "Could not connect: sftp exited with code 255";
        QTest::newRow("killed") << QByteArray() << true
                                << "Could not connect: sftp was ended by signal 255; the connection was probably lost";
    }

    void failedClientIsAFailedConnection()
    {
        QFETCH(QByteArray, said);
        QFETCH(bool, crashed);
        QFETCH(QString, message);
        SFTPService service(record(), {}, std::make_shared<FakeProcessRunner>([=](const ProcessRequest &) {
                                return ProcessResult{255, crashed, {}, said};
                            }));
        QCOMPARE(messageOf([&] { service.connect(neverStops); }), message);
        QVERIFY(!service.isConnected());
    }

    void nothingIsDoneWithoutAConnection()
    {
        const auto list = [this] { m_service->list(QStringLiteral("/"), HiddenFiles::included, neverStops); };
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
        item.path = QStringLiteral("/a\nb");
        QCOMPARE(messageOf([&] { m_service->remove(item, neverStops); }),
                 QStringLiteral("Path contains invalid control characters."));
        const QString longPath = u'/' + QString(2040, u'x');
        QVERIFY(messageOf([&] {
                    m_service->createDirectory(longPath, neverStops);
                }).contains(QStringLiteral("this one has 2049")));
        QVERIFY(!messageOf([&] { m_service->rename(item, QStringLiteral("a/b"), neverStops); }).isEmpty());
        QVERIFY(!messageOf([&] {
                     m_service->setPermissions(QStringLiteral("/a"), QStringLiteral("u+x"), Recursive::no, neverStops);
                 }).isEmpty());
        QCOMPARE(m_clients->requests().size(), started);
    }

    void longFolderIsListedFromInside()
    {
        m_service->connect(neverStops);
        const QString folder = u'/' + QString(700, u'x');
        m_service->list(folder, HiddenFiles::included, neverStops);
        QCOMPARE(QString::fromUtf8(m_clients->requests().constLast().standardInput),
                 QStringLiteral("cd \"%1\"\nls -la\nquit\n").arg(folder));
    }

    void homeMustBeNamed()
    {
        SFTPService service(record(), {}, std::make_shared<FakeProcessRunner>([](const ProcessRequest &) {
                                return FakeProcessRunner::success("?\n");
                            }));
        QVERIFY(caseOf([&] { service.connect(neverStops); }) == FileServiceError::Case::connectionFailed);
    }

private:
    std::shared_ptr<FakeProcessRunner> m_clients;
    std::unique_ptr<SFTPService> m_service;
};

Q_DECLARE_METATYPE(std::function<void(moorix::SFTPService &)>)

MOORIX_TEST(SFTPServiceTest)
#include "SFTPServiceTest.moc"
