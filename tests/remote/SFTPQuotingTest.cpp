// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPQuoting.h"
#include "platform/SystemProcessRunner.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;
using namespace moorix::SFTPQuoting;

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

class SFTPQuotingTest final : public QObject
{
    Q_OBJECT

private slots:
    void ordinaryPathsStandBetweenDoubleQuotesAndAreNoOptions()
    {
        QCOMPARE(sftpPath(u"/a b/c\"d"_s), u"\"/a b/c\\\"d\""_s);
        QCOMPARE(shellPath(u"/a b/c\"d"_s), u"\"/a b/c\\\"d\""_s);
        QCOMPARE(sftpPath(u"-rf"_s), u"\"./-rf\""_s);
        QCOMPARE(shellPath(u"-$"_s), u"'./-$'"_s);
    }

    void shellGetsExactlyTheName_data() { oddNames(); }

    void shellGetsExactlyTheName()
    {
        QFETCH(QString, name);
        const QString command = u"printf %s "_s + shellPath(u'/' + name);
        QCOMPARE(run(u"/bin/sh"_s, {u"-c"_s, command}).standardOutput, '/' + name.toUtf8());
    }

    void clientActsOnExactlyTheName_data() { oddNames(); }

    void clientActsOnExactlyTheName()
    {
        QFETCH(QString, name);
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        const QString path = folder.path() + u'/' + name;
        QCOMPARE(complaint(u"mkdir "_s + sftpPath(path)), QString());
        QCOMPARE(dir.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{name});
        QCOMPARE(complaint(u"ls -l "_s + sftpListPath(path)), QString());
        QCOMPARE(complaint(u"rename "_s + sftpPath(path) + u' ' + sftpPath(path + u'2')), QString());
        QCOMPARE(complaint(u"rmdir "_s + sftpPath(path + u'2')), QString());
        QVERIFY(dir.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
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

private:
    static void oddNames()
    {
        QTest::addColumn<QString>("name");
        for (const char *name :
             {"plain", "two  spaces", " lead", "trail ", "-x",    "a\\b", "end\\", "\\\\",   "\\\"",  "q\"", "it's",
              "''",    "$(id)",       "`id`",  "$HOME",  "bang!", "!!'",  "{",     "{a,b}",  "{}",    "\\{", "*",
              "?",     "[a]",         "~",     "#x",     ";id",   "&",    "größe", "a -> b", "\\101", "%s",  "=x"})
            QTest::newRow(name) << QString::fromUtf8(name);
    }
};

MOORIX_TEST(SFTPQuotingTest)
#include "SFTPQuotingTest.moc"
