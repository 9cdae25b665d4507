// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTreeWidget>

namespace moorix {

class SyncSession;

/// The runs of a pair, the latest first, each with what became of its rows beneath.
class SyncHistoryView final : public QTreeWidget
{
    Q_OBJECT

public:
    explicit SyncHistoryView(SyncSession &session, QWidget *parent = nullptr);

    void refill();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    /// What lies beneath a run is made when it is opened.
    void fillRun(QTreeWidgetItem *item);

    SyncSession &m_session;
};

} // namespace moorix
