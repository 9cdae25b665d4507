// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>

#include <functional>

namespace moorix {

/// Where "now" comes from; tests hand in their own.
using Clock = std::function<QDateTime()>;

inline QDateTime systemNow()
{
    return QDateTime::currentDateTimeUtc();
}

} // namespace moorix
