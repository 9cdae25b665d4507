// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferRules.h"

#include "transfers/TransferEngine.h"

namespace moorix::TransferRules {

using State = TransferStatus::State;

bool canPause(const TransferStatus &transfer)
{
    return transfer.state == State::waiting || transfer.state == State::running ||
           transfer.state == State::reconnecting;
}

bool canResume(const TransferStatus &transfer)
{
    return transfer.state == State::paused || transfer.state == State::interrupted;
}

bool canCancel(const TransferStatus &transfer)
{
    return isOpen(transfer.state);
}

bool canRetryFailed(const TransferStatus &transfer)
{
    return !isOpen(transfer.state) && transfer.hasRemaining;
}

bool canRetry(const TransferStatus &transfer)
{
    return transfer.state == State::failed || transfer.state == State::cancelled;
}

bool canMove(const TransferStatus &transfer)
{
    return transfer.state == State::waiting || transfer.state == State::interrupted;
}

} // namespace moorix::TransferRules
