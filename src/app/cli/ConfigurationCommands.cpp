// SPDX-License-Identifier: GPL-3.0-or-later
// config import and export.
#include "app/cli/Command.h"
#include "app/cli/ExchangeOptions.h"

namespace moorix {

using namespace Qt::StringLiterals;

QList<Command> configurationCommands()
{
    return {exchangeOptions::exportCommand(u"config"_s, ExchangeContent::Kind::configuration),
            exchangeOptions::importCommand(u"config"_s, ExchangeContent::Kind::configuration)};
}

} // namespace moorix
