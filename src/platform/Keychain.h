// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace moorix {

/// Which of the two stored forms of a secret: the one that may travel with a synchronised keychain, or the one bound
/// to this device.
enum class KeychainVariant { synchronizable, deviceOnly };

/// How far the desktop's keychain can be used.
struct KeychainReport
{
    /// The parts it takes, each of which needs the one before it.
    enum class State {
        /// There is no message bus to ask on.
        noMessageBus,
        /// No keychain answers there.
        noService,
        /// It holds no keyring to store in; it asks for a password for a new one with the first secret.
        noKeyring,
        /// It asks for the keyring's password with the next secret.
        locked,
        ready
    };
    State state = State::ready;
    /// What it said, where it could not be asked; else empty.
    QString words = {};
};

/// Generic-password items, addressed by service, account and variant. Blocking (an unlock prompt may be open for
/// minutes): worker threads only; safe to call from several at once. Every call throws an Error that says which part
/// of the keychain is missing or what it answered.
class Keychain
{
public:
    virtual ~Keychain() = default;

    virtual std::optional<QString> value(const QString &service, const QString &account, KeychainVariant variant) = 0;
    /// Updates the item, or adds it when there is none.
    virtual void setValue(const QString &service, const QString &account, KeychainVariant variant,
                          const QString &value) = 0;
    /// Removing an item that does not exist is no failure.
    virtual void remove(const QString &service, const QString &account, KeychainVariant variant) = 0;
    /// Never opens a prompt. Throws only for what none of the states stands for.
    virtual KeychainReport report() = 0;
};

} // namespace moorix
