// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferLink.h"

#include "files/FileServiceError.h"

#include <algorithm>
#include <array>

namespace moorix {

using Case = FileServiceError::Case;

TransferLink::TransferLink(TransferControl &control, TransferTally &tally, Delays delays)
    : m_control(control)
    , m_tally(tally)
    , m_delays(std::move(delays))
{
}

TransferLink::Delays TransferLink::usualDelays()
{
    using namespace std::chrono_literals;
    return {1s, 2s, 4s, 8s, 16s, 32s};
}

void TransferLink::Tries::wait(const Error &error)
{
    if (!mayReconnect(error) || m_failures >= m_link.m_delays.size())
        throw;
    if (m_failures == 0)
        ++m_link.m_waiting;
    m_hasFailed = true;
    m_link.m_tally.waitFor(error.message());
    m_link.m_control.sleep(m_link.m_delays.at(m_failures++));
}

void TransferLink::Tries::restored()
{
    if (m_failures > 0 && --m_link.m_waiting == 0)
        m_link.m_tally.waitFor({});
    m_failures = 0;
}

bool isConnectionLost(const std::exception &error)
{
    const auto *remote = dynamic_cast<const FileServiceError *>(&error);
    return remote && remote->isOfConnection();
}

bool mayReconnect(const std::exception &error)
{
    const auto *remote = dynamic_cast<const FileServiceError *>(&error);
    if (!remote || remote->kind() != Case::connectionFailed)
        return false;
    // Another try would only count as another failed login.
    constexpr std::array turnedAway{"Permission denied (", "Host key verification failed",
                                    "HOST IDENTIFICATION HAS CHANGED", "Too many authentication failures"};
    return std::none_of(turnedAway.begin(), turnedAway.end(),
                        [remote](const char *words) { return remote->text().contains(QLatin1String(words)); });
}

} // namespace moorix
