// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ProgramInfo.h"

namespace moorix {

QString ProgramInfo::version()
{
    return QStringLiteral(MOORIX_VERSION);
}

QString ProgramInfo::build()
{
    return QStringLiteral(MOORIX_BUILD);
}

} // namespace moorix
