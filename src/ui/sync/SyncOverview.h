// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sync/SyncPair.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace moorix {

class AppModel;
class MessageBar;

/// The saved folder pairs, each with when it was synced last and what can be done about it; above them whether the two
/// folders of the window can be synced.
class SyncOverview final : public QWidget
{
    Q_OBJECT

public:
    explicit SyncOverview(AppModel &model, QWidget *parent = nullptr);

    void refill();
    void focusContent();
    /// Forgets a pair after a question.
    void askToForget(const SyncPair &pair);

signals:
    void backRequested();
    /// The two folders that the window shows.
    void shownPairRequested();
    void pairRequested(const QUuid &pair);
    void settingsRequested(const QUuid &pair);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void addHead(QVBoxLayout &column);
    void addCard(const SyncPair &pair);

    AppModel &m_model;
    MessageBar *m_question;
    QLabel *m_reason;
    QPushButton *m_syncShown;
    QVBoxLayout *m_cards;
    QList<QWidget *> m_parts;
};

} // namespace moorix
