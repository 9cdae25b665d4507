// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QString>

#include <optional>
#include <variant>

namespace moorix {

/// An address typed by the user: where to connect, and the password if the address holds one.
struct QuickConnectAddress
{
    /// A fresh record with what the address names; the rest as for a new draft of its protocol.
    ServerConnection server;
    std::optional<QString> password;

    bool operator==(const QuickConnectAddress &) const = default;
};

/// Reads "user@host:port/path" or a URL of sftp, ssh, ftp or ftps ("sftp://user@[2001:db8::1]:2222/var/www"). A
/// missing user is the name of the local account. Returns the address, or the sentence that says what is wrong.
std::variant<QuickConnectAddress, QString> parseQuickConnectAddress(const QString &text);

} // namespace moorix
