// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QUuid>

#include <array>
#include <memory>
#include <mutex>
#include <optional>

namespace moorix {

class Keychain;

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

    /// The stored value of either variant, or one remembered for this run.
    std::optional<QString> get(const QUuid &owner, SecretKind kind);
    /// An empty or absent value deletes both variants.
    bool set(const std::optional<QString> &value, const QUuid &owner, SecretKind kind);
    bool remove(const QUuid &owner, SecretKind kind);
    /// Copies each device-only secret of the servers (all kinds) and backup jobs into the synchronizable variant.
    bool migrateToSyncable(const QList<QUuid> &servers, const QList<QUuid> &backupJobs);

    /// Keeps a secret in memory only, for a machine whose keychain is missing.
    void rememberForThisRun(const QString &value, const QUuid &owner, SecretKind kind);
    /// The keychain's words for the last call that failed, on any thread; empty when none has.
    QString lastProblem() const;

private:
    void noteProblem(const QString &problem);

    std::shared_ptr<Keychain> m_keychain;
    mutable std::mutex m_mutex;
    QHash<QString, QString> m_thisRun;
    QString m_lastProblem;
};

} // namespace moorix
