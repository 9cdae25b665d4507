// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferStatus.h"

namespace moorix {

bool isOpen(TransferStatus::State state)
{
    using State = TransferStatus::State;
    return state != State::finished && state != State::failed && state != State::cancelled;
}

std::optional<qint64> TransferTotals::secondsLeft() const
{
    if (bytesPerSecond < 1 || bytesTotal <= bytesDone)
        return std::nullopt;
    return qint64(double(bytesTotal - bytesDone) / bytesPerSecond) + 1;
}

} // namespace moorix
