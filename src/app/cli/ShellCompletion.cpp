// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/ShellCompletion.h"

#include "app/cli/Command.h"

#include <QRegularExpression>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString bashScript = uR"(# bash completion for moorix
_moorix()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local words="" valued="" values=""
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="%1 --help --version"
    elif [ "$COMP_CWORD" -eq 2 ]; then
        case ${COMP_WORDS[1]} in
%2        esac
    fi
    case "${COMP_WORDS[1]} ${COMP_WORDS[2]-}" in
%3    esac
    if [[ " $valued " == *" $previous "* ]]; then
        words=""
        case "${COMP_WORDS[1]} $previous" in
%4        esac
    elif [[ $COMP_CWORD -gt 1 && $current != -* && $words == -* ]]; then
        words=""
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    if [ ${#COMPREPLY[@]} -eq 0 ]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _moorix moorix
)"_s;

const QString zshScript = uR"(#compdef moorix
local -a commands
if (( CURRENT == 2 )); then
    commands=(
%1    )
    _describe command commands
    _files
    return
fi
if (( CURRENT == 3 )); then
    case $words[2] in
%2    esac
    if (( $#commands )); then
        _describe command commands
        return
    fi
fi
case "$words[2] $words[3]" in
%3esac
)"_s;

const QString fishScript = uR"(# fish completion for moorix
function __moorix_begins
    set -l typed (commandline -opc)
    set -e typed[1]
    test "$typed" = "$argv"
end
function __moorix_is
    set -l typed (commandline -opc)
    set -e typed[1]
    set -l length (count $argv)
    test (count $typed) -ge $length; and test "$typed[1..$length]" = "$argv"
end
)"_s;

QString group(const Command &command)
{
    return command.name.section(u' ', 0, 0);
}

QString verb(const Command &command)
{
    return command.name.section(u' ', 1);
}

/// The first words, each once.
QStringList groups(const QList<Command> &commands)
{
    QStringList found;
    for (const Command &command : commands)
        found.append(group(command));
    found.removeDuplicates();
    return found;
}

/// What a usage line such as "[--conflict ask|skip]" lists for an option; empty if it lists nothing.
QStringList choices(const Command &command, const QCommandLineOption &option)
{
    const QStringList names = spellings(option);
    for (const QString &name : names) {
        const QRegularExpression listed(QRegularExpression::escape(name) + u" ([\\w-]+(?:\\|[\\w-]+)+)"_s);
        if (const auto match = listed.match(command.arguments); match.hasMatch())
            return match.captured(1).split(u'|');
    }
    return {};
}

bool takesValue(const QCommandLineOption &option)
{
    return !option.valueName().isEmpty();
}

/// As a pattern of `case` over "WORD1 WORD2".
QString casePattern(const Command &command)
{
    return verb(command).isEmpty() ? u"\"%1 \"*"_s.arg(command.name) : u"\"%1\""_s.arg(command.name);
}

QString quoted(QString text)
{
    return u'\'' + text.replace(u'\'', u"'\\''"_s) + u'\'';
}

QString bash(const QList<Command> &commands)
{
    QString verbs;
    const QStringList names = groups(commands);
    for (const QString &name : names) {
        QStringList second;
        for (const Command &command : commands) {
            if (group(command) == name && !verb(command).isEmpty())
                second.append(verb(command));
        }
        if (!second.isEmpty())
            verbs += u"        %1) words=\"%2\" ;;\n"_s.arg(name, second.join(u' '));
    }
    QString options;
    QString values;
    for (const Command &command : commands) {
        QStringList all{u"--help"_s};
        QStringList valued;
        for (const QCommandLineOption &option : command.options) {
            all += spellings(option);
            if (takesValue(option))
                valued += spellings(option);
            if (const QStringList listed = choices(command, option); !listed.isEmpty())
                values += u"        \"%1 %2\") words=\"%3\" ;;\n"_s.arg(group(command), spellings(option).constLast(),
                                                                        listed.join(u' '));
        }
        options += u"    %1) [ \"$COMP_CWORD\" -lt %2 ] || words=\"%3\" valued=\"%4\" ;;\n"_s.arg(casePattern(command))
                       .arg(verb(command).isEmpty() ? 2 : 3)
                       .arg(all.join(u' '), valued.join(u' '));
    }
    return bashScript.arg(names.join(u' '), verbs, options, values);
}

QString zshOption(const Command &command, const QCommandLineOption &option)
{
    QString explained = option.description();
    explained.replace(QRegularExpression(u"([\\[\\]:\\\\])"_s), u"\\\\1"_s);
    const QStringList names = spellings(option);
    QString value;
    if (takesValue(option)) {
        const QStringList listed = choices(command, option);
        value = u":%1:%2"_s.arg(option.valueName().toLower(),
                                listed.isEmpty() ? u"_files"_s : u"(%1)"_s.arg(listed.join(u' ')));
    }
    QString text;
    for (const QString &name : names)
        text += u" \\\n        "_s + quoted(u"*%1[%2]%3"_s.arg(name, explained, value));
    return text;
}

QString zsh(const QList<Command> &commands)
{
    const auto entry = [](const QString &word, QString summary) {
        return u"        %1\n"_s.arg(quoted(word + u':' + summary.replace(u':', u"\\:"_s)));
    };
    QString first;
    QString second;
    const QStringList names = groups(commands);
    for (const QString &name : names) {
        QString verbs;
        QString summary;
        for (const Command &command : commands) {
            if (group(command) != name)
                continue;
            summary = command.summary;
            if (!verb(command).isEmpty())
                verbs += entry(verb(command), command.summary);
        }
        first += entry(name, verbs.isEmpty() ? summary : u"see moorix --help"_s);
        if (!verbs.isEmpty())
            second += u"    %1) commands=(\n%2        ) ;;\n"_s.arg(name, verbs);
    }
    QString options;
    for (const Command &command : commands) {
        // The words of the command go, so that _arguments counts what follows them.
        options += u"%1) shift %2 words; (( CURRENT -= %2 )); _arguments '--help[tell all about it]'"_s
                       .arg(casePattern(command))
                       .arg(verb(command).isEmpty() ? 1 : 2);
        for (const QCommandLineOption &option : command.options)
            options += zshOption(command, option);
        options += u" '*:target:_files' ;;\n"_s;
    }
    return zshScript.arg(first, second, options);
}

QString fish(const QList<Command> &commands)
{
    QString text = fishScript;
    const QStringList names = groups(commands);
    text += u"complete -c moorix -n __moorix_begins -a %1\n"_s.arg(quoted(names.join(u' ')));
    for (const Command &command : commands) {
        if (!verb(command).isEmpty())
            text += u"complete -c moorix -f -n '__moorix_begins %1' -a %2 -d %3\n"_s.arg(group(command), verb(command),
                                                                                         quoted(command.summary));
        for (const QCommandLineOption &option : command.options) {
            QString line = u"complete -c moorix -n '__moorix_is %1'"_s.arg(command.name);
            const QStringList spelled = option.names();
            for (const QString &name : spelled)
                line += (name.size() == 1 ? u" -s "_s : u" -l "_s) + name;
            if (takesValue(option))
                line += u" -r"_s;
            if (const QStringList listed = choices(command, option); !listed.isEmpty())
                line += u" -f -a %1"_s.arg(quoted(listed.join(u' ')));
            text += line + u" -d %1\n"_s.arg(quoted(option.description()));
        }
    }
    return text;
}

} // namespace

std::optional<QString> shellCompletion(const QString &shell, const QList<Command> &commands)
{
    if (shell == u"bash")
        return bash(commands);
    if (shell == u"zsh")
        return zsh(commands);
    if (shell == u"fish")
        return fish(commands);
    return std::nullopt;
}

} // namespace moorix
