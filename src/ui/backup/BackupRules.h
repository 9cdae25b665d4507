// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"

#include <QList>

namespace moorix {

/// The fields of the backup editor that can hold something unusable, from top to bottom.
enum class BackupField { name, sources, destination, passphrase };

struct BackupProblem
{
    BackupField field;
    /// For the user: what is wrong and what would be right.
    QString text;

    bool operator==(const BackupProblem &) const = default;
};

/// What was typed as a passphrase, twice, and whether the keychain holds one.
struct TypedPassphrase
{
    QString once;
    QString again;
    bool isStored = false;
};

/// What keeps a job from being saved, in the order of the editor; one at most for each field. `isServerThere`: whether
/// the destination server is still saved. Looks at no disk.
QList<BackupProblem> backupProblems(const BackupJob &job, const QList<BackupJob> &all, const TypedPassphrase &typed,
                                    bool isServerThere);

} // namespace moorix
