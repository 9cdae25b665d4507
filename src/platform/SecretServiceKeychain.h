// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Keychain.h"

namespace moorix {

/// The keychain of the desktop session (GNOME Keyring, KWallet, KeePassXC) over its Secret Service interface.
class SecretServiceKeychain final : public Keychain
{
public:
    std::optional<QString> value(const QString &service, const QString &account, KeychainVariant variant) override;
    void setValue(const QString &service, const QString &account, KeychainVariant variant,
                  const QString &value) override;
    void remove(const QString &service, const QString &account, KeychainVariant variant) override;
    KeychainReport report() override;
};

} // namespace moorix
