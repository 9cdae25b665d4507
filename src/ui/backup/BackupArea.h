// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/BackupJob.h"
#include "ui/backup/ArchiveView.h"

#include <QStackedWidget>

#include <functional>

namespace moorix {

class AppModel;
class BackupEditor;
class BackupOverview;

/// What the window shows of backups in place of its two sides: the list, and one page in front of it while a backup is
/// edited or its archives are looked into. What is typed there stays while something else is looked at.
class BackupArea final : public QStackedWidget
{
    Q_OBJECT

public:
    explicit BackupArea(AppModel &model, QWidget *parent = nullptr);
    ~BackupArea() override;

    /// The list, or the page that is in front of it.
    void showBackups();
    /// A job in the list.
    void showJob(const QUuid &job);
    void newJob(const QStringList &sources);
    void editJob(const QUuid &job, const QStringList &moreSources = {});
    /// Asks for an archive that lies on this computer, and looks into it.
    void chooseArchive();
    void openArchive(const ArchivePlace &place, ArchiveView::Task task);
    void focusContent();
    QString title() const;
    /// One page back.
    void goBack();

signals:
    /// It wants to be seen.
    void shown();
    void backRequested();
    /// A folder is to be seen in a file list.
    void folderRequested(const QString &path);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void openJobPage(const QUuid &job);
    void openEditor(const BackupJob &job, bool isNew, const QStringList &sources);
    /// Runs `then` once nothing is lost by it.
    void leavePage(const std::function<void()> &then);
    void showPage(QWidget *page);
    void closePage(const QUuid &job);
    void finishEditing(const BackupJob &job, const QString &problem);

    AppModel &m_model;
    BackupOverview *m_overview;
    QWidget *m_page = nullptr;
    /// The page, while it is one.
    BackupEditor *m_editor = nullptr;
    /// What the page is about.
    QUuid m_pageJob;
    QString m_title;
    bool m_isArchive = false;
};

} // namespace moorix
