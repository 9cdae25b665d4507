// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"

#include <QList>
#include <QUuid>

#include <memory>

namespace moorix {

class KeychainStore;
class Preferences;

/// Copies the device-only secrets of all servers and backup jobs into the synchronizable keychain, once per user: a
/// full success is noted in the preferences, anything less is tried again at the next start. Main thread; `preferences`
/// must outlive the returned job.
[[nodiscard]] Job migrateSecretsOnce(Preferences &preferences, const std::shared_ptr<KeychainStore> &keychain,
                                     const QList<QUuid> &servers, const QList<QUuid> &backupJobs);

} // namespace moorix
