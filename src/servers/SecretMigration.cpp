// SPDX-License-Identifier: GPL-3.0-or-later
#include "servers/SecretMigration.h"

#include "platform/Preferences.h"
#include "servers/KeychainStore.h"

namespace moorix {

Job migrateSecretsOnce(Preferences &preferences, const std::shared_ptr<KeychainStore> &keychain,
                       const QList<QUuid> &servers, const QList<QUuid> &backupJobs)
{
    const QString doneKey = QStringLiteral("moorix.secretsMigratedToICloud.v1");
    if (preferences.value(doneKey).toBool())
        return {};
    return runJob([keychain, servers,
                   backupJobs](const std::stop_token &) { return keychain->migrateToSyncable(servers, backupJobs); },
                  [&preferences, doneKey](bool succeeded) {
                      if (succeeded)
                          preferences.setValue(doneKey, true);
                  },
                  [](const Error &) {});
}

} // namespace moorix
