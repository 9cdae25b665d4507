// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QTimer>
#include <QUuid>
#include <QWidget>

class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace moorix {

class AppModel;
class BackupCard;
class MessageBar;

/// The list of backups, in the user's order, with what became of them and what is under way.
class BackupOverview final : public QWidget
{
    Q_OBJECT

public:
    explicit BackupOverview(AppModel &model, QWidget *parent = nullptr);
    ~BackupOverview() override;

    /// Gives a job the keyboard and brings it into view; the first one where there is none of that id.
    void focusJob(const QUuid &job);
    /// A sentence above the list.
    void tell(const QString &sentence, bool isWarning);

signals:
    void newRequested();
    void openArchiveRequested();
    void archivesRequested(const QUuid &job);
    void editRequested(const QUuid &job);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QWidget *makeHeader();
    QWidget *makeEmptyState();
    QWidget *makeBody();
    void followJobs();
    void refresh();
    BackupCard *makeCard(const QUuid &job);
    void run(const QUuid &job);
    void askToRemove(const QUuid &job);
    void move(const QUuid &job, int by);
    void step(const BackupCard &from, int by);

    AppModel &m_model;
    MessageBar *m_message;
    QLabel *m_problem;
    QScrollArea *m_scroll;
    QVBoxLayout *m_column = nullptr;
    QWidget *m_empty = nullptr;
    /// In the order of the jobs.
    QList<BackupCard *> m_cards;
    /// Ages grow while nothing happens.
    QTimer m_clock;
};

} // namespace moorix
