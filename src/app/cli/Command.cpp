// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Command.h"

namespace moorix {

using namespace Qt::StringLiterals;

QStringList spellings(const QCommandLineOption &option)
{
    QStringList spelled;
    const QStringList names = option.names();
    for (const QString &name : names)
        spelled.append((name.size() == 1 ? u"-"_s : u"--"_s) + name);
    return spelled;
}

} // namespace moorix
