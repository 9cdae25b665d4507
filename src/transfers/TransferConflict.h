// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QString>

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
};

/// The answer to a conflict question.
struct ConflictAnswer
{
    enum class Choice { skip, overwrite, rename, cancel };
    Choice choice = Choice::cancel;
    /// The same for every further conflict of this transfer.
    bool forAll = false;
};

} // namespace moorix
