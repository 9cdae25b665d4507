// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"
#include "remote/FTPService.h"
#include "support/TestMain.h"

#include <QDir>
#include <QLockFile>
#include <QProcess>

#include <future>

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
    void failureIsToldInWords()
    {
        const Action connect = [](FTPService &) {};
        const Action list = [](FTPService &service) { service.list(u"/f"_s, HiddenFiles::included, neverStops); };
        const Action read = [](FTPService &service) { service.read(u"/f"_s, neverStops); };
        const Action write = [](FTPService &service) { service.write("x", u"/f"_s, neverStops); };
        const Action makeFolder = [](FTPService &service) { service.createDirectory(u"/f"_s, neverStops); };
        const std::tuple<const char *, Action, const char *> rows[] = {
            {"greeting=421 Too many users", connect,
             "Could not connect: 127.0.0.1 takes no more connections at the moment. Try again later.\n421 Too many"},
            {"greeting=SSH-2.0-OpenSSH", connect, "Could not connect: 127.0.0.1 did not answer in time."},
            {"PASS=@drop", connect, "Could not connect: the connection to 127.0.0.1 was lost."},
            {"PASS=500 OOPS: priv_sock_send_cmd", connect,
             "Could not connect: 127.0.0.1 could not carry out the login. Try again later.\n500 OOPS"},
            {"PASS=@hang", connect, "Could not connect: 127.0.0.1 did not answer in time."},
            {"MKD=@hang", makeFolder, "Could not connect: 127.0.0.1 did not answer in time."},
            {"CWD=@drop", list, "Could not connect: the connection to 127.0.0.1 was lost."},
            {"EPSV=425 No;PASV=425 Cannot open", list,
             "Could not connect: 127.0.0.1 opened no connection for the data."},
            {"EPSV=229 Passive (|||1|);PASV=500 No", list,
             "Could not connect: 127.0.0.1 opened no connection for the data."},
            {"RETR=@half;data=12345", read, "“/f” could not be downloaded: the transfer broke off."},
            {"EPSV=500 EPSV?;RETR=@half;data=12345", read, "“/f” could not be downloaded: the transfer broke off."},
            {"RETR=@hang", read, "Could not connect: 127.0.0.1 has sent nothing for 1 seconds."},
            {"STOR=@hang", write, "Could not connect: 127.0.0.1 has taken nothing for 1 seconds."},
            {"stored=452 No space left", write,
             "“/f” could not be written: the server's disk is full, or the account has used up its space.\n452 No "
             "space"},
            {"STOR=553 Bad name", write,
             "“/f” could not be written: the server does not allow this name or place.\n553 Bad name"},
            {"RETR=550 No such file", read, "Not found: /f"},
            {"RETR=550 Denied;files=f", read, "“/f” could not be downloaded: the server refused it.\n550 Denied"},
            {"done=226 Done (but failed to open directory).", list,
             "“/f” could not be listed: the account may not read this folder."},
            {"files=f;done=226 Output truncated to 10000 matches", list,
             "“/f” could not be listed: it holds more entries than the server shows."},
            {"files=f;done=426 Aborted", list, "“/f” could not be listed: the data connection failed."},
            {"data=no form known\\nat all\\n", list,
             "“/f” could not be listed: the server's form of listing is not understood.\nno form known"},
            {"MKD=521 Not here", makeFolder, "“/f” could not be created: the server refused it.\n521 Not here"}};
        for (const auto &row : rows) {
            const auto &[words, action, begin] = row;
            const Stub server(QString::fromUtf8(words).split(u';'), {std::chrono::seconds(2), std::chrono::seconds(1)});
            const QString message = messageOf([&] { std::get<Action>(row)(server.connected()); });
            QVERIFY2(message.startsWith(QString::fromUtf8(begin)),
                     qPrintable(QString::fromUtf8(words) + u": "_s + message));
        }
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

    void serverThatTellsItsFreeSpaceIsBelieved()
    {
        QCOMPARE(Stub({u"AVBL=213 5000000000"_s}).connected().freeSpace(u"/"_s, neverStops),
                 std::optional<qint64>(5000000000));
        QVERIFY(!Stub({u"AVBL=500 What?"_s}).connected().freeSpace(u"/"_s, neverStops));
    }

    void whatCannotBeRemovedIsNamedAndTheRestGoesOn()
    {
        const Stub server({u"files=a,b"_s, u"DELE=550 No"_s});
        QCOMPARE(messageOf([&] { server.connected().remove(entryAt(u"/f/"_s), neverStops); }),
                 u"“/f/b” could not be deleted, and 1 more: the server refused it.\n550 No"_s);
    }

    void manyCommandsMayTakeTheirTime()
    {
        QStringList names;
        for (int i = 0; i < 75; ++i)
            names << QString::number(i);
        const Stub server({u"files="_s + names.join(u','), u"DELE=@slow"_s, u"RMD=250 Done"_s},
                          {std::chrono::seconds(1)});
        FTPService &service = server.connected();
        QCOMPARE(messageOf([&] { service.remove(entryAt(u"/f/"_s), neverStops); }), QString());
        QCOMPARE(listed(service), QStringList());
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

    void keysThatOtherProgramsLearnStay()
    {
        const TestTree tree;
        const FTPCertificates certificates(tree.path("keys.json"));
        QLockFile other(tree.path("keys.json.lock"));
        QVERIFY(other.lock());
        const ServerConnection ours = serverAt(u"a"_s, {});
        auto learning = std::async(std::launch::async, [&] { certificates.remember(ours, "sha256//a"); });
        // Without waiting it would have written before this, or over it.
        QVERIFY(learning.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout);
        tree.write("keys.json",
                   QByteArray("{'certificates':[{'host':'b','port':22,'publicKey':'sha256//b'}]}").replace('\'', '"'));
        other.unlock();
        learning.get();
        QVERIFY(certificates.known(ours) && certificates.known(serverAt(u"b"_s, {})));
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
