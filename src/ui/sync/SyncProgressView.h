// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QLabel;
class QProgressBar;
class QPushButton;

namespace moorix {

class SyncSession;

/// What a sync at work is doing, how far it is, and a way to stop it.
class SyncProgressView final : public QFrame
{
    Q_OBJECT

public:
    explicit SyncProgressView(SyncSession &session, QWidget *parent = nullptr);

private:
    void follow();

    SyncSession &m_session;
    QLabel *m_title;
    QLabel *m_details;
    QProgressBar *m_bar;
    QPushButton *m_cancel;
};

} // namespace moorix
