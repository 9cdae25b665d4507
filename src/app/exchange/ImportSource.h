// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ExchangeContent.h"

#include <optional>
#include <stop_token>

namespace moorix {

class ProcessRunner;

/// Files that servers, and more, can be imported from. Blocking; worker threads.
namespace importSource {

using Origin = ExchangeContent::Origin;

/// Of a file that can be imported; none of them comes near it.
inline constexpr qint64 largestFileBytes = qint64(32) * 1024 * 1024;

/// The user's own OpenSSH configuration.
QString usualOpenSSHFile();

/// Reads a file of one of the known formats; which one is found out from its text unless told. Throws an Error that
/// says why it cannot be imported: it is damaged, foreign, of a newer version, or larger than any such file.
ExchangeContent read(const QString &path, std::optional<Origin> origin, ProcessRunner &runner,
                     const std::stop_token &stop);
/// The same of a text; `name` is what messages call it.
ExchangeContent decode(const QByteArray &bytes, const QString &name, std::optional<Origin> origin,
                       ProcessRunner &runner, const std::stop_token &stop);

} // namespace importSource

} // namespace moorix
