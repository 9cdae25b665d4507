// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferConflict.h"

#include <array>
#include <utility>

namespace moorix {

namespace {

using Choice = ConflictAnswer::Choice;
using Row = std::pair<TransferConflictPolicy, const char *>;
constexpr std::array policies{Row{TransferConflictPolicy::ask, "ask"}, Row{TransferConflictPolicy::skip, "skip"},
                              Row{TransferConflictPolicy::overwrite, "overwrite"},
                              Row{TransferConflictPolicy::rename, "rename"}};

bool isPlainFile(const FileItem &item)
{
    return !item.isDirectory && !item.isSymlink;
}

/// Servers tell times to the minute: within the same one, nothing is newer. Nor within the `slack` of the other.
bool isNewer(const QDateTime &time, const QDateTime &other, std::chrono::milliseconds slack)
{
    constexpr qint64 minuteMsecs = 60'000;
    const bool isExact = time.toMSecsSinceEpoch() % minuteMsecs != 0 && other.toMSecsSinceEpoch() % minuteMsecs != 0;
    const qint64 difference = other.msecsTo(time);
    return difference >= slack.count() && (isExact ? difference > 0 : difference >= minuteMsecs);
}

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

bool TransferConflict::canResume() const
{
    return isPlainFile(source) && isPlainFile(existing) && existing.size > 0 && existing.size < source.size;
}

std::optional<Choice> choiceOf(TransferConflictPolicy policy)
{
    switch (policy) {
    case TransferConflictPolicy::skip:
        return Choice::skip;
    case TransferConflictPolicy::overwrite:
        return Choice::overwrite;
    case TransferConflictPolicy::rename:
        return Choice::rename;
    case TransferConflictPolicy::ask:
        break;
    }
    return std::nullopt;
}

std::optional<Choice> settled(Choice choice, const TransferConflict &conflict)
{
    const FileItem &source = conflict.source;
    const FileItem &existing = conflict.existing;
    switch (choice) {
    case Choice::overwriteOlder:
        if (!source.modified || !existing.modified)
            return std::nullopt;
        return isNewer(*source.modified, *existing.modified, conflict.existingSlack) ? Choice::overwrite : Choice::skip;
    case Choice::overwriteOtherSize:
        return source.size != existing.size ? Choice::overwrite : Choice::skip;
    case Choice::resume:
        if (source.size == existing.size)
            return Choice::skip;
        return conflict.canResume() ? std::optional(Choice::resume) : std::nullopt;
    case Choice::skip:
    case Choice::overwrite:
    case Choice::rename:
    case Choice::cancel:
        break;
    }
    return choice;
}

} // namespace moorix
