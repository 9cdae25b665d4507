// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferRequest.h"

#include <stop_token>

/// What a transfer that nobody goes on with has left behind. Blocking; worker threads.
namespace moorix::transferLeftovers {

/// Removes the part files of this transfer, and of no other, from its target folders and from the folders it has
/// filled in them. Throws at the first that stays.
void remove(const TransferRequest &request, const std::stop_token &stop);

} // namespace moorix::transferLeftovers
