// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"
#include "remote/FTPService.h"
#include "support/TestMain.h"

#include <QDir>
#include <QProcess>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// A server that does what `words` tell it to, and a service for it; gone with the object.
class Stub final
{
public:
    explicit Stub(const QStringList &words, FTPPatience patience = {})
    {
        m_process.start(QDir::cleanPath(QStringLiteral(MOORIX_TEST_DATA "/../support/ftp-stub")), words);
        if (!m_process.waitForReadyRead())
            qFatal("The stub did not start.");
        ServerConnection record = ServerConnection::newDraft(NetworkProtocol::ftp);
        record.host = u"127.0.0.1"_s;
        record.port = m_process.readLine().trimmed().toInt();
        record.username = u"ann"_s;
        service = std::make_unique<FTPService>(record, ConnectionCredentials(), std::make_shared<SystemProcessRunner>(),
                                               FTPCertificates(QString()), patience);
    }
    ~Stub()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Stub)

    FTPService &connected() const
    {
        service->connect(neverStops);
        return *service;
    }

    std::unique_ptr<FTPService> service;

private:
    QProcess m_process;
};

using Action = std::function<void(FTPService &)>;

QStringList listed(FTPService &service)
{
    return namesOf(service.list(u"/"_s, HiddenFiles::included, neverStops));
}

} // namespace

/// What users read when a server fails in ways that the real ones at hand do not.
class FTPFailureTest final : public QObject
{
    Q_OBJECT

private slots:
    void failureIsToldInWords_data()
    {
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("words");
        const Action connect = [](FTPService &) {};
        const Action list = [](FTPService &service) { service.list(u"/f"_s, HiddenFiles::included, neverStops); };
        const Action read = [](FTPService &service) { service.read(u"/f"_s, neverStops); };
        const Action write = [](FTPService &service) { service.write("x", u"/f"_s, neverStops); };
        const Action makeFolder = [](FTPService &service) { service.createDirectory(u"/f"_s, neverStops); };
        const auto row = [](const char *stub, const Action &action, const char *words) {
            QTest::newRow(stub) << action << QString::fromUtf8(words);
        };
        row("greeting=421 Too many users", connect,
            "Could not connect: 127.0.0.1 takes no more connections at the moment. Try again later.\n421 Too many");
        row("greeting=SSH-2.0-OpenSSH", connect, "Could not connect: 127.0.0.1 did not answer in time.");
        row("PASS=@drop", connect, "Could not connect: the connection to 127.0.0.1 was lost.");
        row("PASS=500 OOPS: priv_sock_send_cmd", connect,
            "Could not connect: 127.0.0.1 could not carry out the login. Try again later.\n500 OOPS");
        row("PASS=@hang", connect, "Could not connect: 127.0.0.1 did not answer in time.");
        row("MKD=@hang", makeFolder, "Could not connect: 127.0.0.1 did not answer in time.");
        row("CWD=@drop", list, "Could not connect: the connection to 127.0.0.1 was lost.");
        row("EPSV=425 No;PASV=425 Cannot open", list,
            "Could not connect: 127.0.0.1 opened no connection for the data.");
        row("EPSV=229 Passive (|||1|);PASV=500 No", list,
            "Could not connect: 127.0.0.1 opened no connection for the data.");
        row("RETR=@half;data=12345", read, "“/f” could not be downloaded: the transfer broke off.");
        row("RETR=@hang", read, "Could not connect: 127.0.0.1 has sent nothing for 1 seconds.");
        row("STOR=@hang", write, "Could not connect: 127.0.0.1 has taken nothing for 1 seconds.");
        row("stored=452 No space left", write,
            "“/f” could not be written: the server's disk is full, or the account has used up its space.\n452 No "
            "space");
        row("STOR=553 Bad name", write,
            "“/f” could not be written: the server does not allow this name or place.\n553 Bad name");
        row("RETR=550 No such file", read, "Not found: /f");
        row("RETR=550 Denied;files=f", read, "“/f” could not be downloaded: the server refused it.\n550 Denied");
        row("done=226 Done (but failed to open directory).", list,
            "“/f” could not be listed: the account may not read this folder.");
        row("files=f;done=226 Output truncated to 10000 matches", list,
            "“/f” could not be listed: it holds more entries than the server shows.");
        row("files=f;done=426 Aborted", list, "“/f” could not be listed: the data connection failed.");
        row("data=no form known\\nat all\\n", list,
            "“/f” could not be listed: the server's form of listing is not understood.\nno form known");
        row("MKD=521 Not here", makeFolder, "“/f” could not be created: the server refused it.\n521 Not here");
    }

    void failureIsToldInWords()
    {
        QFETCH(Action, action);
        QFETCH(QString, words);
        const Stub server(QString::fromUtf8(QTest::currentDataTag()).split(u';'),
                          {std::chrono::seconds(2), std::chrono::seconds(1)});
        const QString message = messageOf([&] { action(server.connected()); });
        QVERIFY2(message.startsWith(words), qPrintable(message));
    }

    void repliesOfSeveralLinesCountAsOne()
    {
        const Stub server({u"greeting=220-Hello\\n 550 no reply\\n220-550 nor this\\n220 Ready"_s,
                           u"MKD=250-Made\\n 550 no\\n250 Done"_s});
        QCOMPARE(server.connected().defaultDirectory(neverStops), u"/home"_s);
        server.service->createDirectory(u"/f"_s, neverStops);
    }

    void listingFallsBackToTheFormsAServerHas()
    {
        for (const QStringList &words :
             {QStringList{u"LIST=500 What?"_s, u"data=type=file;size=7; a\\ntype=file;size=7; b\\n"_s},
              QStringList{u"data=11-24-26  03:15PM  7 a\\n11-24-26  03:15PM  7 b\\n"_s}})
            QCOMPARE(listed(Stub(words).connected()), (QStringList{u"a"_s, u"b"_s}));
    }

    void whatCannotBeRemovedIsNamedAndTheRestGoesOn()
    {
        const Stub server({u"files=a,b"_s, u"DELE=550 No"_s});
        QCOMPARE(messageOf([&] { server.connected().remove(entryAt(u"/f/"_s), neverStops); }),
                 u"“/f/b” could not be deleted, and 1 more: the server refused it.\n550 No"_s);
    }

    void filesAreReplacedEvenWhereNothingIsRenamedOverAnother()
    {
        const Stub server({u"files=old,new"_s});
        FTPService &service = server.connected();
        service.moveRemote(u"/new"_s, u"/old"_s, neverStops);
        QCOMPARE(listed(service), QStringList{u"old"_s});
        service.write("x", u"/old"_s, neverStops);
        QCOMPARE(listed(service), QStringList{u"old"_s});
        const FileItem old = entryAt(u"/old"_s);
        service.write("x", u"/other"_s, neverStops);
        QVERIFY(messageOf([&] { service.move(old, u"/other"_s, neverStops); }).contains(u"exists already"_s));
    }

    void damagedListOfKeysIsSetAside()
    {
        const TestTree tree{{"keys.json", "{"}};
        const FTPCertificates certificates(tree.path("keys.json"));
        ServerConnection record = serverAt(u"Example.org"_s, {});
        QVERIFY(!certificates.known(record));
        certificates.remember(record, "sha256//abc=");
        record.host = u"example.org"_s;
        QCOMPARE(certificates.known(record), std::optional(QByteArray("sha256//abc=")));
        record.port = 990;
        QVERIFY(!certificates.known(record));
        QCOMPARE(tree.snapshot().size(), 2);
        QVERIFY(tree.snapshot().firstKey().contains(u"corrupt-"_s));
    }
};

MOORIX_TEST(FTPFailureTest)
#include "FTPFailureTest.moc"
