// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

namespace moorix {

/// What the user has entered as the address of a service.
struct EndpointAddress
{
    /// `notConfigured` is an empty text, and a host of the domain "example", which is reserved and never exists: it is
    /// not even looked up.
    enum class State { notConfigured, invalid, usable };

    State state = State::notConfigured;
    /// Of a usable one: http or https, with a host.
    QUrl url = {};

    bool isUsable() const { return state == State::usable; }
    static EndpointAddress parse(const QString &setting);
};

} // namespace moorix
