// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace moorix {

/// Turns SIGINT, SIGTERM and SIGHUP into a signal on the main thread, so that the program ends as if its window had
/// been closed. One object per program; a second SIGINT or SIGTERM ends the process at once.
class TerminationSignals final : public QObject
{
    Q_OBJECT

public:
    TerminationSignals();
    ~TerminationSignals() override;

signals:
    void terminationRequested();
};

} // namespace moorix
