// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"

#include "app/ProgramInfo.h"
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "app/cli/Interrupt.h"
#include "app/cli/ManualPage.h"
#include "app/cli/ShellCompletion.h"
#include "platform/SecretServiceKeychain.h"
#include "platform/SystemProcessRunner.h"

#include <QCommandLineParser>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString programName = u"moorix"_s;

} // namespace

QList<Command> allCommands()
{
    return fileCommands() + copyCommands() + diffCommands() + serverCommands() + serverTransferCommands() +
           configurationCommands() + secretCommands() + syncCommands() + backupCommands() + backupArchiveCommands() +
           statsCommands() + endpointCommands();
}

namespace {

bool isHelp(const QString &argument)
{
    return argument == u"--help" || argument == u"-h" || argument == u"help";
}

bool isVersion(const QString &argument)
{
    return argument == u"--version" || argument == u"-v";
}

bool isDocument(const QString &argument)
{
    return argument == u"--manual" || argument == u"--completion";
}

/// What the package of the program is made with.
QString document(const QStringList &words)
{
    if (words == QStringList{u"--manual"_s})
        return manualPage(allCommands(), ProgramInfo::version());
    const auto script = words.size() == 2 ? shellCompletion(words.at(1), allCommands()) : std::nullopt;
    if (!script)
        throw UsageError(u"Usage: moorix --manual, or moorix --completion bash|zsh|fish"_s);
    return *script;
}

QString overview()
{
    QString text = u"Usage: moorix [PATH | SERVER:PATH]…      open the window, or these in the one that is open\n"
                   "       moorix COMMAND ARGUMENTS…         do one thing and exit\n\nCommands:\n"_s;
    for (const Command &command : allCommands())
        text += u"  %1 %2\n"_s.arg(command.name.leftJustified(19), command.summary);
    return text +
           u"\n“moorix COMMAND --help” tells more, with examples. A TARGET is a local path or SERVER:PATH, where "
           u"SERVER\n"
           "is the id, the unique name or the host of a saved server; a local file with a colon is written ./a:b.\n"
           "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 finished with some items failed or in conflict.\n"_s;
}

QString optionLine(const QCommandLineOption &option)
{
    QString spelled = spellings(option).join(u", "_s);
    if (!option.valueName().isEmpty())
        spelled += u' ' + option.valueName();
    return u"  %1 %2\n"_s.arg(spelled.leftJustified(26), option.description());
}

QString helpText(const Command &command)
{
    QString text = u"Usage: moorix %1 %2\n\n%3\n"_s.arg(command.name, command.arguments, command.summary);
    if (!command.details.isEmpty())
        text += u'\n' + command.details + u'\n';
    if (!command.options.isEmpty())
        text += u"\nOptions:\n"_s;
    for (const QCommandLineOption &option : command.options)
        text += optionLine(option);
    text += u"\nExamples:\n"_s;
    for (const QString &example : command.examples)
        text += u"  moorix %1\n"_s.arg(example);
    return text;
}

/// The command the words begin with; its words are taken off.
std::optional<Command> takeCommand(QStringList &words)
{
    for (const Command &command : allCommands()) {
        const QStringList name = command.name.split(u' ');
        if (words.mid(0, name.size()) == name) {
            words.remove(0, name.size());
            return command;
        }
    }
    return std::nullopt;
}

ExitCode execute(const Command &command, const QStringList &words, const CommandLine::Platform &platform)
{
    if (std::any_of(words.cbegin(), words.cend(),
                    [](const QString &word) { return word == u"--help" || word == u"-h"; })) {
        console::print(helpText(command));
        return ExitCode::done;
    }
    QCommandLineParser parser;
    parser.addOptions(command.options);
    if (!parser.parse(QStringList{programName} + words))
        throw UsageError(parser.errorText());
    const qsizetype count = parser.positionalArguments().size();
    if (count < command.minimumArguments || (command.maximumArguments >= 0 && count > command.maximumArguments))
        throw UsageError(u"Usage: moorix %1 %2"_s.arg(command.name, command.arguments));

    Interrupt interrupt;
    CommandContext context(platform, interrupt.token());
    return command.run(parser, context);
}

ExitCode runWords(QStringList words, const CommandLine::Platform &platform)
{
    if (words.isEmpty() || isHelp(words.constFirst())) {
        console::print(overview());
        return ExitCode::done;
    }
    if (isVersion(words.constFirst())) {
        console::print(u"Moorix %1\n"_s.arg(ProgramInfo::version()));
        return ExitCode::done;
    }
    if (isDocument(words.constFirst())) {
        console::print(document(words));
        return ExitCode::done;
    }
    const QString group = words.constFirst();
    const auto command = takeCommand(words);
    if (!command)
        throw UsageError(u"“%1” needs one of its commands; see moorix --help."_s.arg(group));
    return execute(*command, words, platform);
}

} // namespace

bool CommandLine::isCommand(const QStringList &arguments)
{
    if (arguments.size() < 2)
        return false;
    const QString word = arguments.at(1);
    if (isHelp(word) || isVersion(word) || isDocument(word))
        return true;
    const QList<Command> commands = allCommands();
    return std::any_of(commands.cbegin(), commands.cend(),
                       [&word](const Command &command) { return command.name.section(u' ', 0, 0) == word; });
}

int CommandLine::run(const QStringList &arguments)
{
    return run(arguments, {std::make_shared<SystemProcessRunner>(), std::make_shared<SecretServiceKeychain>()});
}

int CommandLine::run(const QStringList &arguments, const Platform &platform)
{
    ExitCode code = ExitCode::failed;
    try {
        code = runWords(arguments.mid(1), platform);
        console::flush();
    } catch (const UsageError &error) {
        console::complain(error.message());
        code = ExitCode::wrongUsage;
    } catch (const Error &error) {
        console::complain(error.message());
    }
    return static_cast<int>(code);
}

} // namespace moorix
