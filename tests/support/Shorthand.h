// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileServiceError.h"

#include <QStringList>

#include <stop_token>

namespace moorix::test {

inline const std::stop_token neverStops;

/// The message `action` throws; empty when it throws nothing.
template <class Action>
QString messageOf(Action action)
{
    try {
        action();
    } catch (const Error &error) {
        return error.message();
    }
    return {};
}

/// The case `action` throws; nothing when it throws no FileServiceError.
template <class Action>
std::optional<FileServiceError::Case> caseOf(Action action)
{
    try {
        action();
    } catch (const FileServiceError &error) {
        return error.kind();
    }
    return std::nullopt;
}

/// Of items or records, in their order.
template <class Items>
QStringList namesOf(const Items &items)
{
    QStringList names;
    for (const auto &item : items)
        names << item.name;
    return names;
}

inline QStringList sorted(QStringList names)
{
    names.sort();
    return names;
}

} // namespace moorix::test
