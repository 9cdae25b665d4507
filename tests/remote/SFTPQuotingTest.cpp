// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "platform/SystemProcessRunner.h"
#include "remote/SFTPQuoting.h"
#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace moorix::SFTPQuoting;

namespace {

/// What the client prints for `commands`, run against this machine's own files.
QString localSftp(const QStringList &commands)
{
    ProcessRequest request;
    request.program = QStringLiteral("/usr/bin/sftp");
    request.arguments = QStringList{QStringLiteral("-D"), QStringLiteral("/usr/lib/openssh/sftp-server")};
    request.standardInput = commands.join(u'\n').toUtf8() + '\n';
    return QString::fromUtf8(SystemProcessRunner().run(request, neverStops).standardError);
}

QByteArray shell(const QString &command)
{
    ProcessRequest request;
    request.program = QStringLiteral("/bin/sh");
    request.arguments = QStringList{QStringLiteral("-c"), command};
    return SystemProcessRunner().run(request, neverStops).standardOutput;
}

} // namespace

class SFTPQuotingTest final : public QObject
{
    Q_OBJECT

private slots:
    void ordinaryPathsStandBetweenDoubleQuotes()
    {
        QCOMPARE(sftpPath(QStringLiteral("/a b/c\"d")), QStringLiteral("\"/a b/c\\\"d\""));
        QCOMPARE(shellPath(QStringLiteral("/a b/c\"d")), QStringLiteral("\"/a b/c\\\"d\""));
        QCOMPARE(sftpPath(QStringLiteral("/{a}")), QStringLiteral("\"/{a}\""));
        QCOMPARE(sftpListPath(QStringLiteral("/{a}")), QStringLiteral("\"/\\{a}\""));
    }

    void shellGetsExactlyTheName_data() { oddNames(); }

    void shellGetsExactlyTheName()
    {
        QFETCH(QString, name);
        QCOMPARE(shell(QStringLiteral("printf %s ") + shellPath(u'/' + name)), '/' + name.toUtf8());
    }

    void clientActsOnExactlyTheName_data() { oddNames(); }

    void clientActsOnExactlyTheName()
    {
        QFETCH(QString, name);
        const QTemporaryDir folder;
        const QDir dir(folder.path());
        const QString path = folder.path() + u'/' + name;
        const auto said = [](const QString &command) {
            return localSftp({command}).section(QStringLiteral("sftp-server.\n"), 1);
        };
        QCOMPARE(said(QStringLiteral("mkdir ") + sftpPath(path)), QString());
        QCOMPARE(dir.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot), QStringList{name});
        QCOMPARE(said(QStringLiteral("ls -l ") + sftpListPath(path)), QString());
        QCOMPARE(said(QStringLiteral("rename ") + sftpPath(path) + u' ' + sftpPath(path + u'2')), QString());
        QCOMPARE(said(QStringLiteral("rmdir ") + sftpPath(path + u'2')), QString());
        QVERIFY(dir.isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void backslashNeverHitsTheNeighbour()
    {
        const QTemporaryDir folder;
        for (const char *name : {"a\\b", "ab"})
            QVERIFY(QFile(folder.filePath(QString::fromLatin1(name))).open(QIODevice::WriteOnly));
        localSftp({QStringLiteral("rm ") + sftpPath(folder.filePath(QStringLiteral("a\\b")))});
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{QStringLiteral("ab")});
    }

    void pathsThatCannotBeSentExactlyAreRefused_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("message");
        const QString control = QStringLiteral("Path contains invalid control characters.");
        QTest::newRow("newline") << "/a\nb" << control;
        QTest::newRow("tab") << "/a\tb" << control;
        QTest::newRow("NUL") << QStringLiteral("/a") + QChar(0) << control;
        QTest::newRow("unit separator") << QStringLiteral("/a") + QChar(0x1f) << control;
        QTest::newRow("not UTF-8") << QStringLiteral("/a") + QChar(0xdcff)
                                   << QStringLiteral(
                                          "“/a\\xFF” cannot be reached: its name holds bytes that are not UTF-8 text.");
        QTest::newRow("empty") << ""
                               << "The path is empty.";
    }

    void pathsThatCannotBeSentExactlyAreRefused()
    {
        QFETCH(QString, path);
        QFETCH(QString, message);
        for (const auto &quote : {sftpPath, sftpListPath, shellPath}) {
            QCOMPARE(messageOf([&] { quote(path); }), message);
            QVERIFY(caseOf([&] { quote(path); }) == FileServiceError::Case::operationFailed);
        }
    }

    void relativePathIsNeverAnOption()
    {
        QCOMPARE(sftpPath(QStringLiteral("-rf")), QStringLiteral("\"./-rf\""));
        QCOMPARE(shellPath(QStringLiteral("-$")), QStringLiteral("'./-$'"));
    }

    void lineTheClientWouldBreakInTwoIsRefused()
    {
        QCOMPARE(messageOf([] { rejectLongLine(QString(2046, u'x')); }), QString());
        QVERIFY(messageOf([] { rejectLongLine(QString(2047, u'x')); }).contains(QStringLiteral("2046 bytes")));
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
