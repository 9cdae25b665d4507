// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"
#include "platform/Keychain.h"

#include <QHash>

#include <mutex>

namespace moorix::test {

/// A keychain in memory. Each variant can be made to fail, as a locked or missing keychain does.
class MemoryKeychain final : public Keychain
{
public:
    /// Whether every call for this variant throws.
    void setBroken(KeychainVariant variant, bool isBroken)
    {
        const std::lock_guard lock(m_mutex);
        m_isBroken[int(variant)] = isBroken;
    }
    qsizetype count() const
    {
        const std::lock_guard lock(m_mutex);
        return m_items.size();
    }

    void setReport(const KeychainReport &report)
    {
        const std::lock_guard lock(m_mutex);
        m_report = report;
    }
    KeychainReport report() override
    {
        const std::lock_guard lock(m_mutex);
        return m_report;
    }

    std::optional<QString> value(const QString &service, const QString &account, KeychainVariant variant) override
    {
        const auto lock = unlocked(variant);
        const auto found = m_items.constFind(name(service, account, variant));
        return found == m_items.cend() ? std::nullopt : std::optional(*found);
    }
    void setValue(const QString &service, const QString &account, KeychainVariant variant,
                  const QString &value) override
    {
        const auto lock = unlocked(variant);
        m_items.insert(name(service, account, variant), value);
    }
    void remove(const QString &service, const QString &account, KeychainVariant variant) override
    {
        const auto lock = unlocked(variant);
        m_items.remove(name(service, account, variant));
    }

private:
    static QString name(const QString &service, const QString &account, KeychainVariant variant)
    {
        return QStringLiteral("%1/%2/%3").arg(service, account).arg(int(variant));
    }
    std::unique_lock<std::mutex> unlocked(KeychainVariant variant) const
    {
        std::unique_lock lock(m_mutex);
        if (m_isBroken.value(int(variant)))
            throw Error(QStringLiteral("Keychain"), QStringLiteral("The keychain is locked."));
        return lock;
    }

    mutable std::mutex m_mutex;
    QHash<QString, QString> m_items;
    QHash<int, bool> m_isBroken;
    KeychainReport m_report;
};

} // namespace moorix::test
