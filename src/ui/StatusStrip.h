// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSet>
#include <QTimer>
#include <QUuid>
#include <QWidget>

class QLabel;
class QProgressBar;
class QToolButton;

namespace moorix {

class AppModel;
class ElidedLabel;
struct TransferStatus;

/// The line at the foot of the window: whom the active side is connected to, the latest message, and the transfer
/// under way.
class StatusStrip final : public QWidget
{
    Q_OBJECT

public:
    explicit StatusStrip(AppModel &model, QWidget *parent = nullptr);

    /// Shown for a while, then the line falls silent again.
    void tell(const QString &message);
    /// Whom the active side is connected to.
    void showConnection(const QString &text, bool isConnected);

signals:
    void transfersRequested();

private:
    void followTransfers();
    void noteEnds(const QList<TransferStatus> &all);
    void showEnded(const TransferStatus &transfer);

    AppModel &m_model;
    QLabel *m_dot;
    QLabel *m_connection;
    ElidedLabel *m_message;
    ElidedLabel *m_progressName;
    ElidedLabel *m_progressText;
    QProgressBar *m_progress;
    QToolButton *m_cancel;
    QToolButton *m_queue;
    QTimer m_silence;
    QUuid m_running;
    /// Those whose end has not been told.
    QSet<QUuid> m_open;
};

} // namespace moorix
