// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferConflict.h"

#include <array>
#include <utility>

namespace moorix {

namespace {

using Row = std::pair<TransferConflictPolicy, const char *>;
constexpr std::array policies{Row{TransferConflictPolicy::ask, "ask"}, Row{TransferConflictPolicy::skip, "skip"},
                              Row{TransferConflictPolicy::overwrite, "overwrite"},
                              Row{TransferConflictPolicy::rename, "rename"}};

} // namespace

QString rawText(TransferConflictPolicy policy)
{
    for (const auto &[value, text] : policies) {
        if (value == policy)
            return QString::fromLatin1(text);
    }
    return {};
}

std::optional<TransferConflictPolicy> transferConflictPolicyFromRaw(const QString &text)
{
    for (const auto &[value, raw] : policies) {
        if (text == QLatin1String(raw))
            return value;
    }
    return std::nullopt;
}

} // namespace moorix
