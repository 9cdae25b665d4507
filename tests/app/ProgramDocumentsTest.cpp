// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Command.h"
#include "app/cli/ManualPage.h"
#include "app/cli/ShellCompletion.h"
#include "support/TestMain.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

QString printedBy(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(20000) || process.exitCode() != 0)
        qFatal("%s did not succeed.", qPrintable(program));
    // fish complains and succeeds.
    if (const QByteArray complaint = process.readAllStandardError(); !complaint.isEmpty())
        qFatal("%s: %s", qPrintable(program), complaint.constData());
    return QString::fromUtf8(process.readAllStandardOutput());
}

QStringList found(const QString &text, const QString &pattern)
{
    QStringList all;
    for (const auto &match : QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text))
        all.append(match.captured(1));
    return all;
}

} // namespace

/// The manual page and the completions that are installed with the program.
class ProgramDocumentsTest final : public QObject
{
    Q_OBJECT

    const QString m_program = QStringLiteral(MOORIX_BINARY);

    /// What bash offers for the last of `words`, which stand behind the program's name.
    QStringList offered(const QStringList &words, const QString &script) const
    {
        const QString run = script + u"\ncompopt() { :; }\nCOMP_WORDS=(moorix \"$@\") COMP_CWORD=$#\n"
                                     "_moorix; printf '%s\\n' \"${COMPREPLY[@]}\"\n"_s;
        return printedBy(u"bash"_s, QStringList{u"-c"_s, run, u"bash"_s} + words).split(u'\n', Qt::SkipEmptyParts);
    }

private slots:
    void manualPageTellsEveryCommandAndOptionThatTheHelpTells()
    {
        const QString page = printedBy(m_program, {u"--manual"_s}).replace(u"\\-"_s, u"-"_s);
        const QStringList commands = found(printedBy(m_program, {u"--help"_s}), u"^  (\\w+(?: \\w+)?)  "_s);
        QVERIFY(commands.size() > 20);
        for (const QString &command : commands) {
            const QString entry = page.section(u".SS moorix %1 "_s.arg(command), 1).section(u"\n.SS "_s, 0, 0);
            QVERIFY2(!entry.isEmpty(), qPrintable(command));
            const QString help = printedBy(m_program, command.split(u' ') + QStringList{u"--help"_s});
            const QString options = help.section(u"\nOptions:\n"_s, 1).section(u"\n\n"_s, 0, 0);
            const QStringList told = found(options, u"^  ((?:-\\w|--[\\w-]+)(?:, --[\\w-]+)*)"_s);
            QCOMPARE(told.size(), options.count(u"\n  -"_s) + options.startsWith(u"  -"_s));
            for (const QString &option : told)
                QVERIFY2(entry.contains(u"\\fB%1\\fR"_s.arg(QString(option).replace(u", "_s, u"\\fR, \\fB"_s))),
                         qPrintable(command + u' ' + option));
        }
    }

    void nothingInATextIsTakenForARequestOfMan()
    {
        QCOMPARE(manualText(u".TH"_s), u"\\&.TH"_s);
        QCOMPARE(manualText(u"'\\-~\"`^\n.x"_s), u"\\(aq\\e\\-\\(ti\\(dq\\(ga\\(ha .x"_s);
    }

    void bashOffersWhatFitsTheWordsBefore()
    {
        const QString script = printedBy(m_program, {u"--completion"_s, u"bash"_s});
        const std::tuple<QStringList, QStringList> rows[] = {
            {{u"bac"_s}, {u"backup"_s}},
            {{u"secret"_s, u""_s}, {u"set"_s, u"remove"_s}},
            {{u"ls"_s, u"--"_s}, {u"--help"_s, u"--all"_s, u"--json"_s}},
            {{u"cp"_s, u"a"_s, u"b"_s, u"--conflict"_s, u"o"_s}, {u"overwrite"_s}},
            {{u"servers"_s, u"edit"_s, u"web-01"_s, u"--po"_s}, {u"--port"_s}},
            {{u"servers"_s, u"add"_s, u"--key"_s, u"/etc/hostn"_s}, {u"/etc/hostname"_s}},
            {{u"cat"_s, u"/etc/hostn"_s}, {u"/etc/hostname"_s}},
            {{u"/etc/hostn"_s}, {u"/etc/hostname"_s}},
        };
        for (const auto &[words, offer] : rows)
            QCOMPARE(offered(words, script), offer);
        for (const Command &command : allCommands()) {
            QStringList all{u"--help"_s};
            for (const QCommandLineOption &option : command.options)
                all += spellings(option);
            QCOMPARE(offered(command.name.split(u' ') + QStringList{u"-"_s}, script), all);
        }
    }

    void eachShellThatIsHereAcceptsItsScript()
    {
        for (const QString &shell : {u"bash"_s, u"zsh"_s, u"fish"_s}) {
            const auto script = shellCompletion(shell, allCommands());
            QVERIFY(script);
            if (!QStandardPaths::findExecutable(shell).isEmpty())
                printedBy(shell, {u"-n"_s, u"-c"_s, *script});
        }
        QVERIFY(!shellCompletion(u"csh"_s, allCommands()));
    }
};

MOORIX_TEST(ProgramDocumentsTest)
#include "ProgramDocumentsTest.moc"
