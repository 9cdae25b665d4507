// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QString>

#include <chrono>
#include <optional>

namespace moorix {

/// What to do when something stands where a copy should go. The raw text is the stored form.
enum class TransferConflictPolicy { ask, skip, overwrite, rename };
QString rawText(TransferConflictPolicy policy);
std::optional<TransferConflictPolicy> transferConflictPolicyFromRaw(const QString &text);

/// Both sides of one conflict, for the question.
struct TransferConflict
{
    FileItem source;
    FileItem existing;
    /// The existing one may be younger than its date says by less than this, as where a listing tells the day alone.
    std::chrono::seconds existingSlack = {};

    /// What is there may be the beginning of the source: both are plain files, and it is shorter.
    bool canResume() const;
};

/// The answer to a conflict question.
struct ConflictAnswer
{
    enum class Choice {
        skip,
        overwrite,
        rename,
        cancel,
        /// Overwrites only what is older than the source.
        overwriteOlder,
        /// Overwrites only what has another size.
        overwriteOtherSize,
        /// Continues the file that is there where it ends.
        resume
    };
    Choice choice = Choice::cancel;
    /// The same for every further conflict of this transfer.
    bool forAll = false;
};

/// What a policy answers by itself; nothing for `ask`.
std::optional<ConflictAnswer::Choice> choiceOf(TransferConflictPolicy policy);

/// What a choice means for one conflict: skip, overwrite, rename, cancel or resume. Nothing when it cannot be told, as
/// with a missing date or a file that cannot be continued; the user is then asked again.
std::optional<ConflictAnswer::Choice> settled(ConflictAnswer::Choice choice, const TransferConflict &conflict);

} // namespace moorix
