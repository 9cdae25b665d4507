// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace moorix {

struct TransferStatus;

/// Which operation of the queue means something for a transfer as it stands.
namespace TransferRules {

bool canPause(const TransferStatus &transfer);
bool canResume(const TransferStatus &transfer);
bool canCancel(const TransferStatus &transfer);
bool canRetryFailed(const TransferStatus &transfer);
bool canRetry(const TransferStatus &transfer);
bool canMove(const TransferStatus &transfer);

} // namespace TransferRules

} // namespace moorix
