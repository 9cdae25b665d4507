// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/cli/Command.h"
#include "app/exchange/ExchangeContent.h"

/// What the commands that export and import have in common.
namespace moorix::exchangeOptions {

/// The command “WHAT export FILE|-”.
Command exportCommand(const QString &what, ExchangeContent::Kind kind);
/// The command “WHAT import FILE|-”. With `Kind::servers` a configuration's servers alone are imported.
Command importCommand(const QString &what, ExchangeContent::Kind kind);

} // namespace moorix::exchangeOptions
