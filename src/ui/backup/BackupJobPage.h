// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ArchiveSource.h"
#include "base/Job.h"
#include "ui/backup/ArchiveView.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTreeWidget;
class QVBoxLayout;

namespace moorix {

/// A page about one backup: the archives at its destination, and its runs on this machine.
class BackupJobPage final : public QWidget
{
    Q_OBJECT

public:
    BackupJobPage(AppModel &model, const QUuid &job, QWidget *parent = nullptr);
    ~BackupJobPage() override;

    QString title() const;

signals:
    void closed();
    void archiveRequested(const moorix::ArchivePlace &place, moorix::ArchiveView::Task task);
    /// An archive that is a plain folder of this computer is to be seen in a file list.
    void folderRequested(const QString &path);

private:
    QWidget *makeHeader();
    void addArchives(QVBoxLayout &column);
    void addRuns(QVBoxLayout &column);
    void loadArchives();
    void showArchives(const QList<FileItem> &archives);
    void showRuns();
    void updateButtons();
    void act(ArchiveView::Task task);

    AppModel &m_model;
    QUuid m_jobID;
    ArchiveSource m_source;
    QTreeWidget *m_archives = nullptr;
    QLabel *m_state = nullptr;
    QPushButton *m_restore = nullptr;
    QPushButton *m_verify = nullptr;
    QPushButton *m_decrypt = nullptr;
    QTreeWidget *m_runs = nullptr;
    Job m_job;
};

} // namespace moorix
