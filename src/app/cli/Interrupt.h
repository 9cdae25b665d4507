// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <stop_token>
#include <thread>

namespace moorix {

/// Turns SIGINT, SIGTERM and, from a terminal that is closed, SIGHUP into a stop request for as long as it lives. One
/// at a time. A second SIGINT or SIGTERM ends the process the ordinary way.
class Interrupt final
{
public:
    Interrupt();
    Q_DISABLE_COPY_MOVE(Interrupt)
    ~Interrupt();

    std::stop_token token() const { return m_source.get_token(); }

private:
    std::stop_source m_source;
    std::thread m_watcher;
};

} // namespace moorix
