// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/ManualPage.h"

#include "app/cli/Command.h"

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString beginning = uR"(.TH MOORIX 1 "" "Moorix %1" "User Commands"
.nh
.ad l
.SH NAME
moorix \- two\-pane file manager for local disks and servers
.SH SYNOPSIS
.nf
\fBmoorix\fR [\fIPATH\fR | \fIURL\fR | \fISERVER\fR:\fIPATH\fR]...
\fBmoorix\fR \fICOMMAND\fR \fIARGUMENT\fR...
.fi
.SH DESCRIPTION
Without a command,
.B moorix
opens its window of two panes and shows in them what is named: folders of this computer, or of saved servers.
A \fIURL\fR is one of file, sftp, ssh, ftp or ftps; a server that is not saved is only offered for a connection.
With a command it does one thing without a window and exits.
.PP
A \fITARGET\fR is a local path or \fISERVER\fR:\fIPATH\fR, where \fISERVER\fR is the id, the unique name or the host
of a saved server and a relative \fIPATH\fR begins in the home folder of the account.
A local file with a colon in its name is written ./a:b.
.SH OPTIONS
.TP
\fB\-h\fR, \fB\-\-help\fR
List the commands; after a command, tell all about it.
.TP
\fB\-v\fR, \fB\-\-version\fR
Print the version.
.TP
\fB\-\-completion\fR bash|zsh|fish
Print the completion script for that shell.
.TP
\fB\-\-manual\fR
Print this page.
.SH COMMANDS
)"_s;

const QString end = uR"(.SH EXIT STATUS
.TP
.B 0
Done.
.TP
.B 1
Failed; standard error says why.
.TP
.B 2
The command cannot be meant as it was written. Nothing was changed.
.TP
.B 3
Finished, with some items failed or in conflict.
.SH ENVIRONMENT
.TP
.B XDG_DATA_HOME
Where the documents of the program are, instead of ~/.local/share.
.TP
.B XDG_CONFIG_HOME
Where the preferences are, instead of ~/.config.
.TP
.B XDG_RUNTIME_DIR
Where the shared connections of
.BR ssh (1)
are kept while they are open.
.TP
.B TMPDIR
Where temporary files are written, instead of /tmp.
.TP
.B SSH_AUTH_SOCK
The agent that servers with agent login are entered with.
.TP
.B SHELL
What a terminal of this computer runs.
.PP
Secrets are never read from the environment, nor from arguments.
.SH FILES
.TP
.I ~/.local/share/Moorix/
Saved servers, transfers that have not ended, folder pairs, backups and copies of files that are edited.
.TP
.I ~/.config/Moorix/preferences.json
The preferences.
.TP
.I ~/.ssh/config\fR, \fI~/.ssh/known_hosts
Are used as by
.BR ssh (1).
.PP
Passwords and passphrases are in the keychain of the desktop only.
.SH SEE ALSO
.BR ssh (1),
.BR sftp (1),
.BR ssh_config (5),
.BR curl (1),
.BR zip (1)
)"_s;

/// Filled text breaks after a sentence that ends its line, as the help does; indented lines stay as they are.
QString paragraph(const QString &details)
{
    const QStringList lines = details.split(u'\n');
    QString text = u".PP\n"_s;
    bool isTable = false;
    for (const QString &line : lines) {
        if (line.startsWith(u' ') != isTable) {
            isTable = !isTable;
            text += isTable ? u".nf\n"_s : u".fi\n"_s;
        }
        text += line.isEmpty() ? u".PP\n"_s : manualText(line) + u'\n';
        if (!isTable && line.endsWith(u'.'))
            text += u".br\n"_s;
    }
    return isTable ? text + u".fi\n"_s : text;
}

QString optionEntry(const QCommandLineOption &option)
{
    QStringList names;
    const QStringList spelled = spellings(option);
    for (const QString &name : spelled)
        names.append(u"\\fB%1\\fR"_s.arg(manualText(name)));
    const QString value =
        option.valueName().isEmpty() ? QString() : u" \\fI%1\\fR"_s.arg(manualText(option.valueName()));
    return u".TP\n%1%2\n%3\n"_s.arg(names.join(u", "_s), value, manualText(option.description()));
}

QString commandEntry(const Command &command)
{
    QString text = u".SS moorix %1 %2\n%3\n"_s.arg(manualText(command.name), manualText(command.arguments),
                                                   manualText(command.summary));
    if (!command.details.isEmpty())
        text += paragraph(command.details);
    for (const QCommandLineOption &option : command.options)
        text += optionEntry(option);
    text += u".PP\nExamples:\n.PP\n.nf\n.RS\n"_s;
    for (const QString &example : command.examples)
        text += u"moorix %1\n"_s.arg(manualText(example));
    return text + u".RE\n.fi\n"_s;
}

} // namespace

QString manualText(const QString &text)
{
    QString escaped;
    for (const QChar character : text) {
        switch (character.unicode()) {
        case u'\\':
            escaped += u"\\e"_s;
            break;
        case u'-':
            escaped += u"\\-"_s;
            break;
        case u'~':
            escaped += u"\\(ti"_s;
            break;
        case u'^':
            escaped += u"\\(ha"_s;
            break;
        case u'`':
            escaped += u"\\(ga"_s;
            break;
        case u'\'':
            escaped += u"\\(aq"_s;
            break;
        case u'"':
            escaped += u"\\(dq"_s;
            break;
        case u'\n':
            escaped += u' ';
            break;
        default:
            escaped += character;
        }
    }
    // A line that begins with a full stop would be a request.
    return escaped.startsWith(u'.') ? u"\\&"_s + escaped : escaped;
}

QString manualPage(const QList<Command> &commands, const QString &version)
{
    QString page = beginning.arg(version);
    for (const Command &command : commands)
        page += commandEntry(command);
    return page + end;
}

} // namespace moorix
