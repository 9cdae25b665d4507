// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "platform/SystemProcessRunner.h"
#include "remote/FTPService.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QProcess>
#include <QTest>

using namespace moorix;
using namespace moorix::test;

namespace {

/// A server that does what `words` tell it to; gone with the object.
class Stub final
{
public:
    explicit Stub(const QStringList &words)
    {
        m_process.start(QDir::cleanPath(QStringLiteral(MOORIX_TEST_DATA "/../support/ftp-stub")), words);
        if (!m_process.waitForReadyRead())
            qFatal("The stub did not start.");
        m_port = m_process.readLine().trimmed().toInt();
    }
    ~Stub()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Stub)

    std::unique_ptr<FTPService> service(FTPPatience patience) const
    {
        ServerConnection record = ServerConnection::newDraft(NetworkProtocol::ftp);
        record.host = QStringLiteral("127.0.0.1");
        record.port = m_port;
        record.username = QStringLiteral("ann");
        return std::make_unique<FTPService>(record, ConnectionCredentials(), std::make_shared<SystemProcessRunner>(),
                                            FTPCertificates(QString()), patience);
    }

private:
    QProcess m_process;
    int m_port = 0;
};

using Action = std::function<void(FTPService &)>;

void listFolder(FTPService &service)
{
    service.list(QStringLiteral("/f"), HiddenFiles::included, neverStops);
}

void readFile(FTPService &service)
{
    service.read(QStringLiteral("/f"), neverStops);
}

void writeFile(FTPService &service)
{
    service.write("x", QStringLiteral("/f"), neverStops);
}

void makeFolder(FTPService &service)
{
    service.createDirectory(QStringLiteral("/f"), neverStops);
}

void nothing(FTPService &) {}

QString listed(const char *name)
{
    return QStringLiteral("-rw-r--r-- 1 a b 7 Jan  5 10:00 %1\\n").arg(QLatin1String(name));
}

} // namespace

Q_DECLARE_METATYPE(Action)

/// What users read when a server fails in ways that the real ones at hand do not.
class FTPFailureTest final : public QObject
{
    Q_OBJECT

private slots:
    void failureIsToldInWords_data()
    {
        QTest::addColumn<QStringList>("stub");
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("words");
        const auto row = [](const char *title, const QStringList &stub, Action action, const char *words) {
            QTest::newRow(title) << stub << action << QString::fromUtf8(words);
        };
        const QString here = QStringLiteral("data=") + listed("f");
        row("too many connections", {QStringLiteral("greeting=421 Too many users")}, nothing,
            "Could not connect: 127.0.0.1 takes no more connections at the moment. Try again later.\n421 Too many "
            "users");
        row("no FTP server", {QStringLiteral("greeting=SSH-2.0-OpenSSH")}, nothing,
            "Could not connect: 127.0.0.1 did not answer in time.");
        row("login without a word", {QStringLiteral("PASS=@drop")}, nothing,
            "Could not connect: the connection to 127.0.0.1 was lost.");
        row("login hangs", {QStringLiteral("PASS=@hang")}, nothing,
            "Could not connect: 127.0.0.1 did not answer in time.");
        row("command hangs", {QStringLiteral("MKD=@hang")}, makeFolder,
            "Could not connect: 127.0.0.1 did not answer in time.");
        row("connection lost", {QStringLiteral("CWD=@drop")}, listFolder,
            "Could not connect: the connection to 127.0.0.1 was lost.");
        row("no data connection", {QStringLiteral("EPSV=425 No"), QStringLiteral("PASV=425 Cannot open")}, listFolder,
            "Could not connect: 127.0.0.1 opened no connection for the data.");
        row("data port unreachable", {QStringLiteral("EPSV=229 Passive (|||1|)"), QStringLiteral("PASV=500 No")},
            listFolder, "Could not connect: 127.0.0.1 opened no connection for the data.");
        row("file cut short", {QStringLiteral("RETR=@half"), QStringLiteral("data=12345")}, readFile,
            "“/f” could not be downloaded: the transfer broke off.");
        row("transfer hangs", {QStringLiteral("RETR=@hang")}, readFile,
            "Could not connect: 127.0.0.1 has sent nothing for 1 seconds.");
        row("storing hangs", {QStringLiteral("STOR=@hang")}, writeFile,
            "Could not connect: 127.0.0.1 has taken nothing for 1 seconds.");
        row("disk full", {QStringLiteral("stored=452 No space left")}, writeFile,
            "“/f” could not be written: the server's disk is full, or the account has used up its space.\n452 No "
            "space");
        row("name not allowed", {QStringLiteral("STOR=553 Bad name")}, writeFile,
            "“/f” could not be written: the server does not allow this name or place.\n553 Bad name");
        row("file gone", {QStringLiteral("RETR=550 No such file")}, readFile, "Not found: /f");
        row("file not readable", {QStringLiteral("RETR=550 Denied"), here}, readFile,
            "“/f” could not be downloaded: the server refused it.\n550 Denied");
        row("folder not readable", {QStringLiteral("done=226 Done (but failed to open directory).")}, listFolder,
            "“/f” could not be listed: the account may not read this folder.");
        row("listing cut short", {here, QStringLiteral("done=226 Output truncated to 10000 matches")}, listFolder,
            "“/f” could not be listed: it holds more entries than the server shows.");
        row("listing aborted", {here, QStringLiteral("done=426 Aborted")}, listFolder,
            "“/f” could not be listed: the data connection failed.");
        row("foreign listing", {QStringLiteral("data=no form known\\nat all\\n")}, listFolder,
            "“/f” could not be listed: the server's form of listing is not understood.\nno form known");
        row("folder refused", {QStringLiteral("MKD=521 Not here")}, makeFolder,
            "“/f” could not be created: the server refused it.\n521 Not here");
    }

    void failureIsToldInWords()
    {
        QFETCH(QStringList, stub);
        QFETCH(Action, action);
        QFETCH(QString, words);
        const Stub server(stub);
        const auto service = server.service({std::chrono::seconds(2), std::chrono::seconds(1)});
        const QString message = messageOf([&] {
            service->connect(neverStops);
            action(*service);
        });
        QVERIFY2(message.startsWith(words), qPrintable(message));
    }

    void repliesOfSeveralLinesCountAsOne()
    {
        const Stub server({QStringLiteral("greeting=220-Hello\\n 550 no reply\\n220-550 nor this\\n220 Ready"),
                           QStringLiteral("MKD=250-Made\\n 550 no\\n250 Done")});
        const auto service = server.service({});
        service->connect(neverStops);
        QCOMPARE(service->defaultDirectory(neverStops), QStringLiteral("/home"));
        service->createDirectory(QStringLiteral("/f"), neverStops);
    }

    void listingFallsBackToTheFormsAServerHas_data()
    {
        QTest::addColumn<QString>("listReply");
        QTest::addColumn<QString>("data");
        QTest::newRow("facts only") << QStringLiteral("LIST=500 What?")
                                    << QStringLiteral("type=file;size=7; a\\ntype=file;size=7; b\\n");
        QTest::newRow("MS-DOS") << QString() << QStringLiteral("11-24-26  03:15PM  7 a\\n11-24-26  03:15PM  7 b\\n");
    }

    void listingFallsBackToTheFormsAServerHas()
    {
        QFETCH(QString, listReply);
        QFETCH(QString, data);
        QStringList words{QStringLiteral("data=") + data};
        if (!listReply.isEmpty())
            words << listReply;
        const Stub server(words);
        const auto service = server.service({});
        service->connect(neverStops);
        QCOMPARE(test::namesOf(service->list(QStringLiteral("/f"), HiddenFiles::included, neverStops)),
                 (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    }

    void whatCannotBeRemovedIsNamedAndTheRestGoesOn()
    {
        const Stub server({QStringLiteral("data=") + listed("a") + listed("b"), QStringLiteral("DELE=550 No")});
        const auto service = server.service({});
        service->connect(neverStops);
        FileItem folder;
        folder.path = QStringLiteral("/f");
        folder.isDirectory = true;
        QCOMPARE(messageOf([&] { service->remove(folder, neverStops); }),
                 QStringLiteral("“/f/b” could not be deleted, and 1 more: the server refused it.\n550 No"));
    }

    void filesAreReplacedEvenWhereNothingIsRenamedOverAnother()
    {
        const Stub server({QStringLiteral("files=old,new")});
        const auto service = server.service({});
        service->connect(neverStops);
        const auto names = [&] {
            return test::namesOf(service->list(QStringLiteral("/"), HiddenFiles::included, neverStops));
        };
        service->moveRemote(QStringLiteral("/new"), QStringLiteral("/old"), neverStops);
        QCOMPARE(names(), QStringList{QStringLiteral("old")});
        service->write("x", QStringLiteral("/old"), neverStops);
        QCOMPARE(names(), QStringList{QStringLiteral("old")});
        FileItem old;
        old.path = QStringLiteral("/old");
        service->write("x", QStringLiteral("/other"), neverStops);
        QVERIFY(messageOf([&] {
                    service->move(old, QStringLiteral("/other"), neverStops);
                }).contains(QStringLiteral("exists already")));
    }

    void damagedListOfKeysIsSetAside()
    {
        const TestTree tree{{"keys.json", "{"}};
        const FTPCertificates certificates(tree.path("keys.json"));
        ServerConnection record;
        record.host = QStringLiteral("Example.org");
        QVERIFY(!certificates.known(record));
        certificates.remember(record, "sha256//abc=");
        record.host = QStringLiteral("example.org");
        QCOMPARE(certificates.known(record), std::optional(QByteArray("sha256//abc=")));
        record.port = 990;
        QVERIFY(!certificates.known(record));
        QCOMPARE(tree.snapshot().size(), 2);
        QVERIFY(tree.snapshot().firstKey().contains(QStringLiteral("corrupt-")));
    }
};

MOORIX_TEST(FTPFailureTest)
#include "FTPFailureTest.moc"
