// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/KeychainStore.h"

#include "base/Error.h"
#include "base/Json.h"
#include "platform/Keychain.h"

namespace moorix {

namespace {

const QString service = QStringLiteral("com.ovlan.moorix.secrets");

QString accountOf(const QUuid &owner, SecretKind kind)
{
    return uuidText(owner) + u'.' + rawText(kind);
}

} // namespace

QString rawText(SecretKind kind)
{
    switch (kind) {
    case SecretKind::password:
        return QStringLiteral("password");
    case SecretKind::passphrase:
        return QStringLiteral("passphrase");
    case SecretKind::privateKey:
        return QStringLiteral("privateKey");
    }
    return {};
}

KeychainStore::KeychainStore(std::shared_ptr<Keychain> keychain)
    : m_keychain(std::move(keychain))
{
}

bool KeychainStore::attempt(const std::function<void(Keychain &)> &operation)
{
    try {
        operation(*m_keychain);
        return true;
    } catch (const Error &error) {
        const std::lock_guard lock(m_mutex);
        m_lastProblem = error.message();
        return false;
    }
}

KeychainReport KeychainStore::report()
{
    return m_keychain->report();
}

KeychainStore::Reading KeychainStore::read(const QUuid &owner, SecretKind kind)
{
    const QString account = accountOf(owner, kind);
    {
        const std::lock_guard lock(m_mutex);
        const auto remembered = m_thisRun.constFind(account);
        if (remembered != m_thisRun.cend())
            return {*remembered};
    }
    Reading reading;
    for (const KeychainVariant variant : {KeychainVariant::synchronizable, KeychainVariant::deviceOnly}) {
        if (!attempt([&](Keychain &keychain) { reading.value = keychain.value(service, account, variant); }))
            reading.problem = lastProblem();
        if (reading.value)
            break;
    }
    return reading;
}

bool KeychainStore::set(const std::optional<QString> &value, const QUuid &owner, SecretKind kind)
{
    if (!value || value->isEmpty())
        return remove(owner, kind);
    const QString account = accountOf(owner, kind);
    forget(account);
    KeychainVariant written = KeychainVariant::synchronizable;
    KeychainVariant stale = KeychainVariant::deviceOnly;
    const auto write = [&](Keychain &keychain) { keychain.setValue(service, account, written, *value); };
    if (!attempt(write)) {
        std::swap(written, stale);
        if (!attempt(write))
            return false;
    }
    // An older value in the other variant could otherwise be found, or migrated, in place of this one. The new value
    // is stored all the same, so failing here is no failure.
    attempt([&](Keychain &keychain) { keychain.remove(service, account, stale); });
    return true;
}

bool KeychainStore::remove(const QUuid &owner, SecretKind kind)
{
    const QString account = accountOf(owner, kind);
    forget(account);
    bool succeeded = true;
    for (const KeychainVariant variant : {KeychainVariant::synchronizable, KeychainVariant::deviceOnly})
        succeeded &= attempt([&](Keychain &keychain) { keychain.remove(service, account, variant); });
    return succeeded;
}

bool KeychainStore::migrateToSyncable(const QList<QUuid> &servers, const QList<QUuid> &backupJobs)
{
    bool succeeded = true;
    for (const QUuid &owner : servers + backupJobs) {
        for (const SecretKind kind : allSecretKinds) {
            succeeded &= attempt([account = accountOf(owner, kind)](Keychain &keychain) {
                if (const auto value = keychain.value(service, account, KeychainVariant::deviceOnly))
                    keychain.setValue(service, account, KeychainVariant::synchronizable, *value);
            });
        }
    }
    return succeeded;
}

void KeychainStore::rememberForThisRun(const QString &value, const QUuid &owner, SecretKind kind)
{
    const std::lock_guard lock(m_mutex);
    m_thisRun.insert(accountOf(owner, kind), value);
}

QString KeychainStore::lastProblem() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastProblem;
}

void KeychainStore::forget(const QString &account)
{
    const std::lock_guard lock(m_mutex);
    m_thisRun.remove(account);
}

} // namespace moorix
