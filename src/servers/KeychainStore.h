// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QUuid>

#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace moorix {

class Keychain;
struct KeychainReport;

/// The kinds of secret an owner (a server, a backup job) can have.
enum class SecretKind { password, passphrase, privateKey };
inline constexpr std::array allSecretKinds{SecretKind::password, SecretKind::passphrase, SecretKind::privateKey};
QString rawText(SecretKind kind);

/// The secrets of servers and backup jobs in the system keychain. Blocking: worker threads only; safe to call from
/// several at once. Failures of the keychain surface as a false result or an absent value; `lastProblem` has the words.
class KeychainStore final
{
public:
    explicit KeychainStore(std::shared_ptr<Keychain> keychain);

    /// A value remembered for this run, else the synchronizable variant, else the device-only one.
    std::optional<QString> get(const QUuid &owner, SecretKind kind) { return read(owner, kind).value; }
    struct Reading
    {
        std::optional<QString> value = {};
        /// The keychain's words where it could not be asked; a value may be there all the same.
        QString problem = {};
    };
    /// The same, with why nothing may have been found.
    Reading read(const QUuid &owner, SecretKind kind);
    /// Stores the synchronizable variant, or the device-only one where that fails, and drops the other. An empty or
    /// absent value deletes both variants. Either way nothing is remembered for this run any more.
    bool set(const std::optional<QString> &value, const QUuid &owner, SecretKind kind);
    /// Deletes both variants; what does not exist is no failure.
    bool remove(const QUuid &owner, SecretKind kind);
    /// Copies each device-only secret of these owners, whatever its kind, into the synchronizable variant. True when
    /// every copy succeeded; there may have been nothing to copy.
    bool migrateToSyncable(const QList<QUuid> &servers, const QList<QUuid> &backupJobs);

    /// How far the keychain can be used. Opens no prompt; throws what it said where that is something else.
    KeychainReport report();

    /// Keeps a secret in memory only, for a machine whose keychain is missing.
    void rememberForThisRun(const QString &value, const QUuid &owner, SecretKind kind);
    /// The keychain's words for the last call that failed, on any thread; empty when none has.
    QString lastProblem() const;

private:
    /// Runs one operation; notes the words of a failure and returns false then.
    bool attempt(const std::function<void(Keychain &)> &operation);
    void forget(const QString &account);

    std::shared_ptr<Keychain> m_keychain;
    mutable std::mutex m_mutex;
    QHash<QString, QString> m_thisRun;
    QString m_lastProblem;
};

} // namespace moorix
