// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncChoice.h"

#include <QFrame>

class QLabel;
class QPushButton;

namespace moorix {

class SyncSession;

/// What a sync would do in all, an answer for all conflicts, and the button that does it.
class SyncFooter final : public QFrame
{
    Q_OBJECT

public:
    explicit SyncFooter(SyncSession &session, QWidget *parent = nullptr);

    /// There is something to be done or to be remembered.
    bool isUseful() const;

private:
    void addAnswers();
    void follow();

    SyncSession &m_session;
    QLabel *m_summary;
    QPushButton *m_conflicts;
    QPushButton *m_sync;
};

} // namespace moorix
