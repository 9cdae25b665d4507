// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"
#include "remote/SFTPOutcome.h"
#include "remote/SFTPQuoting.h"
#include "remote/SSHFailureText.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;
using namespace moorix::SFTPQuoting;
using Kind = SFTPOutcome::Kind;
using OddItems = SFTPOutcome::OddItems;

namespace {

ProcessResult run(const QString &program, const QStringList &arguments, const QByteArray &input = {})
{
    ProcessRequest request;
    request.program = program;
    request.arguments = arguments;
    request.standardInput = input;
    return SystemProcessRunner().run(request, neverStops);
}

/// What the client complains of in a command that is run against this machine's own files.
QString complaint(const QString &command)
{
    const ProcessResult result =
        run(u"/usr/bin/sftp"_s, {u"-D"_s, u"/usr/lib/openssh/sftp-server"_s}, command.toUtf8() + '\n');
    return QString::fromUtf8(result.standardError).section(u"sftp-server.\n"_s, 1);
}

} // namespace

/// What the clients are told, and what they say.
class SFTPTextTest final : public QObject
{
    Q_OBJECT

    static SFTPOutcome classified(const QByteArray &said, OddItems oddItems = OddItems::fail)
    {
        return SFTPOutcome::classify("sftp> x\nsftp> quit\n", said, oddItems);
    }

private slots:
    void answersAreCountedInPiecesAsInOne()
    {
        const QByteArray said("sftp> of the banner\nConnected to h.\r\nsftp> put a\nUploading /a\nsftp> ls\nsftp");
        QCOMPARE(SFTPText::answers(said).size(), 2);
        for (const qsizetype piece : {1, 7, 100}) {
            SFTPText::AnswerCount count;
            for (qsizetype at = 0; at < said.size(); at += piece)
                count.feed(said.mid(at, piece));
            QCOMPARE(count.count(), 2);
        }
    }

    void ordinaryPathsStandBetweenDoubleQuotesAndAreNoOptions()
    {
        QCOMPARE(sftpPath(u"/a b/c\"d"_s), u"\"/a b/c\\\"d\""_s);
        QCOMPARE(shellPath(u"/a b/c\"d"_s), u"\"/a b/c\\\"d\""_s);
        QCOMPARE(sftpPath(u"-rf"_s), u"\"./-rf\""_s);
        QCOMPARE(shellPath(u"-$!\\"_s), uR"('./-$'\!''\\'')"_s);
    }

    void shellAndClientGetExactlyTheName()
    {
        for (const char *odd :
             {"plain", "two  spaces", " lead", "trail ", "-x",    "a\\b", "end\\", "\\\\",   "\\\"",  "q\"", "it's",
              "''",    "$(id)",       "`id`",  "$HOME",  "bang!", "!!'",  "{",     "{a,b}",  "{}",    "\\{", "*",
              "?",     "[a]",         "~",     "#x",     ";id",   "&",    "größe", "a -> b", "\\101", "%s",  "=x"}) {
            const QString name = QString::fromUtf8(odd);
            const QString command = u"printf %s "_s + shellPath(u'/' + name);
            QCOMPARE(run(u"/bin/sh"_s, {u"-c"_s, command}).standardOutput, '/' + name.toUtf8());
            const TestTree tree;
            const QString path = tree.path(name);
            QCOMPARE(complaint(u"mkdir "_s + sftpPath(path)), QString());
            QCOMPARE(tree.snapshot().keys(), QStringList{name + u'/'});
            QCOMPARE(complaint(u"ls -l "_s + sftpListPath(path)), QString());
            QCOMPARE(complaint(u"rename "_s + sftpPath(path) + u' ' + sftpPath(path + u'2')), QString());
            QCOMPARE(complaint(u"rmdir "_s + sftpPath(path + u'2')), QString());
            QCOMPARE(tree.snapshot(), TreeSnapshot());
        }
    }

    void pathsThatCannotBeSentExactlyAreRefused()
    {
        for (const auto &quote : {sftpPath, sftpListPath, shellPath}) {
            for (const QChar character : {u'\n', u'\t', u'\0', u'\x1f'})
                QCOMPARE(messageOf([&] { quote(u"/a"_s + character); }),
                         u"Path contains invalid control characters."_s);
            QCOMPARE(messageOf([&] { quote(u"/a"_s + QChar(0xdcff)); }),
                     u"“/a\\xFF” cannot be reached: its name holds bytes that are not UTF-8 text."_s);
            QCOMPARE(messageOf([&] { quote(QString()); }), u"The path is empty."_s);
            QVERIFY(caseOf([&] { quote(QString()); }) == FileServiceError::Case::operationFailed);
        }
    }

    void lineTheClientWouldBreakInTwoIsRefused()
    {
        QCOMPARE(messageOf([] { rejectLongLine(QString(2046, u'x')); }), QString());
        QVERIFY(messageOf([] { rejectLongLine(QString(2047, u'x')); }).contains(u"2046 bytes"_s));
        QVERIFY(!messageOf([] { rejectLongLine(QString(1024, u'ü')); }).isEmpty());
    }

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
        const ServerConnection server = serverAt(u"h"_s, u"u"_s, 2222);
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
        const QString many =
            SSHFailureText::operation(u"a"_s, u"Failure"_s, QString(11, u'x').replace(u"x"_s, u"x\n"_s));
        QVERIFY(many.count(u'\n') == 11 && many.endsWith(u"… and 2 more lines."_s));
    }
};

MOORIX_TEST(SFTPTextTest)
#include "SFTPTextTest.moc"
