// SPDX-License-Identifier: GPL-3.0-or-later
// servers import and export.
#include "app/cli/Command.h"
#include "app/cli/ExchangeOptions.h"

namespace moorix {

using namespace Qt::StringLiterals;

QList<Command> serverTransferCommands()
{
    return {exchangeOptions::exportCommand(u"servers"_s, ExchangeContent::Kind::servers),
            exchangeOptions::importCommand(u"servers"_s, ExchangeContent::Kind::servers)};
}

} // namespace moorix
