// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class QLabel;

namespace moorix {

class Session;

/// Shown while a server has not answered yet: what is waited for, for how long, and a way out.
class ConnectingView final : public QWidget
{
    Q_OBJECT

public:
    explicit ConnectingView(Session &session, QWidget *parent = nullptr);

private:
    void updateElapsed();

    QLabel *m_elapsed;
    QElapsedTimer m_since;
    QTimer m_tick;
};

} // namespace moorix
