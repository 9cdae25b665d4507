// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/AppPaths.h"

#include <QDir>
#include <QStandardPaths>

namespace moorix {

namespace {

QString folderFromVariable(const char *variable, const QString &fallBack)
{
    const QString folder = qEnvironmentVariable(variable);
    // The desktop's base-directory rules: a relative value is ignored.
    return folder.startsWith(u'/') ? folder : fallBack;
}

} // namespace

QString AppPaths::home()
{
    return QDir::homePath();
}

QString AppPaths::applicationSupport()
{
    return folderFromVariable("XDG_DATA_HOME", home() + QStringLiteral("/.local/share")) + QStringLiteral("/Moorix");
}

QString AppPaths::configuration()
{
    return folderFromVariable("XDG_CONFIG_HOME", home() + QStringLiteral("/.config")) + QStringLiteral("/Moorix");
}

QString AppPaths::temporaryFolder()
{
    return QDir::tempPath();
}

QString AppPaths::downloads()
{
    return QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
}

QString AppPaths::expandTilde(const QString &path)
{
    if (path == u"~" || path.startsWith(QStringLiteral("~/")))
        return home() + path.mid(1);
    return path;
}

} // namespace moorix
