// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalEnvironment.h"

#include <QFile>

#include <array>
#include <pwd.h>
#include <unistd.h>

namespace moorix::TerminalEnvironment {

QStringList environmentArray(QProcessEnvironment own, const QProcessEnvironment &extra)
{
    const QString language = QStringLiteral("LANG");
    own.insert(extra);
    own.insert(QStringLiteral("TERM"), QStringLiteral("xterm-256color"));
    if (!own.contains(language))
        own.insert(language, QStringLiteral("en_US.UTF-8"));
    return own.toStringList();
}

QString accountShell()
{
    std::array<char, 16384> texts{};
    passwd account{};
    passwd *found = nullptr;
    if (::getpwuid_r(::getuid(), &account, texts.data(), texts.size(), &found) != 0 || !found)
        return {};
    return QFile::decodeName(found->pw_shell);
}

QString loginShell(const QString &accountShell, const QString &shellVariable)
{
    if (!accountShell.isEmpty())
        return accountShell;
    return shellVariable.isEmpty() ? QStringLiteral("/bin/zsh") : shellVariable;
}

QString loginName(const QString &shell)
{
    return u'-' + shell.section(u'/', -1);
}

} // namespace moorix::TerminalEnvironment
