// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPOutcome.h"
#include "remote/SSHFailureText.h"
#include "servers/ServerConnection.h"
#include "support/TestMain.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using Kind = SFTPOutcome::Kind;
using OddItems = SFTPOutcome::OddItems;

class SFTPOutcomeTest final : public QObject
{
    Q_OBJECT

private slots:
    void whatTheClientSaidDecides_data()
    {
        QTest::addColumn<QByteArray>("said");
        QTest::addColumn<Kind>("kind");
        const auto row = [](const char *name, const char *said, Kind kind) {
            QTest::newRow(name) << QByteArray(said) << kind;
        };
        row("silence", "", Kind::succeeded);
        row("ls, missing", "Can't ls: \"/x\" not found\r\n", Kind::missing);
        row("ls, no right", "remote readdir(\"/x/\"): Permission denied\r\n", Kind::failed);
        row("rm, missing", "remote delete /x: No such file or directory\r\n", Kind::missing);
        row("rm, missing, old client", "Couldn't delete file: No such file or directory\r\n", Kind::missing);
        row("rm, folder", "remote delete /x: Failure\r\n", Kind::failed);
        row("chmod, missing", "remote setstat \"/x\": No such file or directory\r\n", Kind::missing);
        row("chmod, no number", "You must supply a numeric argument to the chmod command.\r\n", Kind::failed);
        row("get, missing", "File \"/x\" not found.\r\n", Kind::missing);
        row("get, local folder missing", "open local \"/l\": No such file or directory\r\n", Kind::failed);
        row("get, disk full", "write local \"/l\": No space left on device\r\n", Kind::failed);
        row("put, local missing", "stat /l: No such file or directory\r\n", Kind::failed);
        row("cut line", "remote open \"/xxxxxxxx", Kind::failed);
        row("open quote", "Unterminated quoted argument\r\n", Kind::failed);
        row("never seen before", "the sky is falling\r\n", Kind::failed);
        row("sharing refused",
            "mux_client_request_session: session request failed: Session open refused by peer\r\n"
            "ControlSocket /tmp/s already exists, disabling multiplexing\r\n",
            Kind::succeeded);
        row("key warning", "Warning: Permanently added 'h' (ED25519) to the list of known hosts.\r\n", Kind::succeeded);
        row("link without -r", "download \"/d/link\": not a regular file\r\n", Kind::failed);
    }

    void whatTheClientSaidDecides()
    {
        QFETCH(QByteArray, said);
        QFETCH(Kind, kind);
        const auto outcome =
            SFTPOutcome::classify("sftp> x\nsftp> quit\n", "Connected to host.\n" + said, OddItems::fail);
        QVERIFY2(outcome.kind == kind, qPrintable(outcome.words));
    }

    void batchCountsFromTheSessionToItsEnd()
    {
        const auto outcome = SFTPOutcome::classify(
            "sftp> quit\n",
            "Welcome!\r\nremote delete /x: Failure\r\nConnected to a fake.\r\n** WARNING: old\r\nConnected to h.\n",
            OddItems::fail);
        QVERIFY(outcome.kind == Kind::succeeded);
        const auto cut = SFTPOutcome::classify("sftp> rm \"/x\"\n", "Connected to h.\n", OddItems::fail);
        QVERIFY(cut.kind == Kind::failed && !cut.words.isEmpty());
    }

    void recursiveCopiesReportWhatTheySkip()
    {
        const QByteArray said =
            "Connected to h.\ndownload \"/d/l\": not a regular file\r\nfifo: not a regular file\r\n";
        const auto outcome = SFTPOutcome::classify("sftp> quit\n", said, OddItems::areSkipped);
        QVERIFY(outcome.kind == Kind::succeeded);
        QCOMPARE(outcome.skipped.size(), 2);
        QVERIFY(SFTPOutcome::classify("sftp> quit\n", said + "remote open \"/d/x\": Permission denied\r\n",
                                      OddItems::areSkipped)
                    .kind == Kind::failed);
    }

    void escapedWordsAreReadableAndEchoesLeftOut()
    {
        QCOMPARE(SFTPText::result("sftp> pwd\nRemote working directory: /\nsftp> "),
                 u"Remote working directory: /\n"_s);
        const auto outcome = SFTPOutcome::classify(
            "sftp> quit\n", "Connected to h.\nremote delete /gr\\303\\266\\303\\237e\\\\b: Permission denied\r\n",
            OddItems::fail);
        QCOMPARE(outcome.words, u"remote delete /größe\\b: Permission denied"_s);
        QCOMPARE(outcome.reason, u"Permission denied"_s);
    }

    void failedConnectionsAreExplained_data()
    {
        QTest::addColumn<QByteArray>("said");
        QTest::addColumn<QString>("begin");
        QTest::addColumn<QString>("words");
        const auto row = [](const char *name, const char *said, const char *begin, const char *words) {
            QTest::newRow(name) << QByteArray(said) << QString::fromUtf8(begin) << QString::fromUtf8(words);
        };
        row("password", "u@h: Permission denied (publickey,password).\r\nConnection closed\r\n",
            "h did not accept the login of “u”.", "u@h: Permission denied (publickey,password).");
        row("keys only", "u@h: Permission denied (publickey).\r\n",
            "h did not accept the key of “u”, and it takes no passwords.", "u@h: Permission denied (publickey).");
        row("changed key", "@ WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED! @\r\nHost key verification failed.\r\n",
            "the key of h has changed.",
            "@ WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED! @\nHost key verification failed.");
        row("open key", "Load key \"/k\": bad permissions\r\nu@h: Permission denied (publickey,password).\r\n",
            "the key file may be read by other users",
            "Load key \"/k\": bad permissions\nu@h: Permission denied (publickey,password).");
        row("refused", "ssh: connect to host h port 2222: Connection refused\r\nConnection closed.  \r\n",
            "h answers, but nothing listens on port 2222.", "ssh: connect to host h port 2222: Connection refused");
        row("no subsystem", "Connection closed.  \r\n", "h ended the connection without a reason.",
            "Connection closed.");
        row("lost while at work",
            "Connected to h.\n\rConnection closed.  \r\nRead packet: Connection reset by peer\r\n",
            "the connection to h was lost.", "Connection closed.\nRead packet: Connection reset by peer");
    }

    void failedConnectionsAreExplained()
    {
        QFETCH(QByteArray, said);
        QFETCH(QString, begin);
        QFETCH(QString, words);
        ServerConnection server;
        server.host = u"h"_s;
        server.port = 2222;
        server.username = u"u"_s;
        const QString text = SSHFailureText::connection(server, said);
        QVERIFY2(text.startsWith(begin), qPrintable(text));
        QVERIFY2(text.endsWith(u'\n' + words), qPrintable(text));
        QCOMPARE(SSHFailureText::connection(server, "  something new \r\n"), u"something new"_s);
    }
};

MOORIX_TEST(SFTPOutcomeTest)
#include "SFTPOutcomeTest.moc"
