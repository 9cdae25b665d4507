// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QUuid>

class QCheckBox;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;
class QVBoxLayout;

namespace moorix {

class AppModel;
struct BackupJob;

/// One backup in the list: how it stands, and what can be done with it. Has the keyboard as a whole: Return shows its
/// archives, F4 edits, Delete removes, Ctrl with the arrows moves it.
class BackupCard final : public QFrame
{
    Q_OBJECT

public:
    BackupCard(AppModel &model, const QUuid &job, QWidget *parent = nullptr);

    const QUuid &jobID() const { return m_jobID; }
    /// Shows the job and its history as they are now.
    void refresh();
    /// The run in progress has come further.
    void showProgress();
    void setMovable(bool up, bool down);

signals:
    void runRequested();
    void archivesRequested();
    void editRequested();
    void removeRequested();
    /// By -1 or 1.
    void moveRequested(int by);
    /// The keyboard goes to the card before or behind.
    void stepRequested(int by);

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void makeRows();
    QWidget *makeProgress();
    QHBoxLayout *makeButtons();
    void showStanding(const BackupJob &job);
    void showRunning(const BackupJob &job);

    AppModel &m_model;
    QUuid m_jobID;
    QLabel *m_icon = nullptr;
    QLabel *m_name = nullptr;
    QCheckBox *m_enabled = nullptr;
    QLabel *m_schedule = nullptr;
    QLabel *m_lastGood = nullptr;
    QLabel *m_next = nullptr;
    QLabel *m_status = nullptr;
    QLabel *m_notes = nullptr;
    QWidget *m_progress = nullptr;
    QLabel *m_progressText = nullptr;
    QLabel *m_amount = nullptr;
    QProgressBar *m_bar = nullptr;
    QPushButton *m_cancel = nullptr;
    QPushButton *m_run = nullptr;
    QToolButton *m_up = nullptr;
    QToolButton *m_down = nullptr;
};

} // namespace moorix
