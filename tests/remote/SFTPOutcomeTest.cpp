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

    static SFTPOutcome classified(const QByteArray &said, OddItems oddItems = OddItems::fail)
    {
        return SFTPOutcome::classify("sftp> x\nsftp> quit\n", said, oddItems);
    }

private slots:
    void whatTheClientSaidDecides()
    {
        const auto decides = [](Kind kind, std::initializer_list<const char *> sayings) {
            for (const char *said : sayings) {
                const auto outcome = classified(QByteArray("Connected to host.\n") + said);
                QVERIFY2(outcome.kind == kind, said);
            }
        };
        decides(Kind::succeeded, {"",
                                  "mux_client_request_session: session request failed: Session open refused by peer\r\n"
                                  "ControlSocket /tmp/s already exists, disabling multiplexing\r\n",
                                  "Warning: Permanently added 'h' (ED25519) to the list of known hosts.\r\n"});
        decides(Kind::missing, {"Can't ls: \"/x\" not found\r\n", "remote delete /x: No such file or directory\r\n",
                                "Couldn't delete file: No such file or directory\r\n",
                                "remote setstat \"/x\": No such file or directory\r\n", "File \"/x\" not found.\r\n"});
        decides(Kind::failed,
                {"remote readdir(\"/x/\"): Permission denied\r\n", "remote delete /x: Failure\r\n",
                 "You must supply a numeric argument to the chmod command.\r\n",
                 "open local \"/l\": No such file or directory\r\n", "write local \"/l\": No space left on device\r\n",
                 "stat /l: No such file or directory\r\n", "remote open \"/xxxxxxxx",
                 "Unterminated quoted argument\r\n", "the sky is falling\r\n",
                 "download \"/d/link\": not a regular file\r\n"});
    }

    void batchCountsFromTheSessionToItsEnd()
    {
        QVERIFY(classified("Welcome!\r\nremote delete /x: Failure\r\nConnected to a fake.\r\n** WARNING: old\r\n"
                           "Connected to h.\n")
                    .kind == Kind::succeeded);
        const auto cut = SFTPOutcome::classify("sftp> rm \"/x\"\n", "Connected to h.\n", OddItems::fail);
        QVERIFY(cut.kind == Kind::failed && !cut.words.isEmpty());
    }

    void recursiveCopiesReportWhatTheySkip()
    {
        const QByteArray said =
            "Connected to h.\ndownload \"/d/l\": not a regular file\r\nfifo: not a regular file\r\n";
        const auto outcome = classified(said, OddItems::areSkipped);
        QVERIFY(outcome.kind == Kind::succeeded);
        QCOMPARE(outcome.skipped.size(), 2);
        QVERIFY(classified(said + "remote open \"/d/x\": Permission denied\r\n", OddItems::areSkipped).kind ==
                Kind::failed);
    }

    void escapedWordsAreReadableAndEchoesLeftOut()
    {
        QCOMPARE(SFTPText::result("sftp> pwd\nRemote working directory: /\nsftp> "),
                 u"Remote working directory: /\n"_s);
        const auto outcome =
            classified("Connected to h.\nremote delete /gr\\303\\266\\303\\237e\\\\b: Permission denied\r\n");
        QCOMPARE(outcome.words, u"remote delete /größe\\b: Permission denied"_s);
        QCOMPARE(outcome.reason, u"Permission denied"_s);
    }

    void failedConnectionsAreExplained()
    {
        const std::pair<const char *, const char *> rows[] = {
            {"u@h: Permission denied (publickey,password).\r\nConnection closed\r\n",
             "h did not accept the login of “u”."},
            {"u@h: Permission denied (publickey).\r\n", "h did not accept the key of “u”, and it takes no passwords."},
            {"@ WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED! @\r\nHost key verification failed.\r\n",
             "the key of h has changed."},
            {"Load key \"/k\": bad permissions\r\nu@h: Permission denied (publickey,password).\r\n",
             "the key file may be read by other users"},
            {"ssh: connect to host h port 2222: Connection refused\r\nConnection closed.  \r\n",
             "h answers, but nothing listens on port 2222."},
            // No subsystem for files.
            {"Connection closed.  \r\n", "h ended the connection without a reason."},
            {"Connected to h.\n\rConnection closed.  \r\nRead packet: Connection reset by peer\r\n",
             "the connection to h was lost."},
        };
        ServerConnection server;
        server.host = u"h"_s;
        server.port = 2222;
        server.username = u"u"_s;
        for (const auto &[said, begin] : rows) {
            const QString text = SSHFailureText::connection(server, said);
            QVERIFY2(text.startsWith(QString::fromUtf8(begin)), qPrintable(text));
        }
        // What the client said follows, without its farewell where it has said more.
        QCOMPARE(SSHFailureText::connection(server, rows[0].first).section(u'\n', 1),
                 u"u@h: Permission denied (publickey,password)."_s);
        QCOMPARE(SSHFailureText::connection(server, rows[6].first).section(u'\n', 1),
                 u"Connection closed.\nRead packet: Connection reset by peer"_s);
        QCOMPARE(SSHFailureText::connection(server, "  something new \r\n"), u"something new"_s);
    }
};

MOORIX_TEST(SFTPOutcomeTest)
#include "SFTPOutcomeTest.moc"
