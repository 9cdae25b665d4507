// SPDX-License-Identifier: GPL-3.0-or-later
// Backups in the window.
#include "ui/MainWindow.h"

#include "app/PaneTabs.h"
#include "backup/BackupEngine.h"
#include "files/Format.h"
#include "platform/DesktopNotifier.h"
#include "ui/MainToolBar.h"
#include "ui/SideView.h"
#include "ui/Sidebar.h"
#include "ui/backup/BackupArea.h"
#include "ui/backup/SourceList.h"

#include <QApplication>
#include <QSplitter>
#include <QStackedWidget>

namespace moorix {

void MainWindow::addBackupCommands()
{
    m_handlers[WindowCommand::backups] = [this] { showsBackups() ? showSides() : m_backups->showBackups(); };
    m_handlers[WindowCommand::newBackup] = [this] { m_backups->newJob({}); };
    m_handlers[WindowCommand::openArchive] = [this] {
        const QStringList selected = SourceList::selectionOf(m_model);
        const bool isOne = selected.size() == 1 && (selected.constFirst().endsWith(QLatin1String(".zip")) ||
                                                    selected.constFirst().endsWith(QLatin1String(".zip.enc")));
        if (isOne && !showsBackups())
            openArchive(selected.constFirst());
        else
            m_backups->chooseArchive();
    };
    m_handlers[WindowCommand::backupSelection] = [this] {
        const QStringList selected = SourceList::selectionOf(m_model);
        if (selected.isEmpty())
            emit m_model.messageRaised(tr("Select what is to be backed up in a list of local files first."));
        else
            m_backups->newJob(selected);
    };
}

/// Before anything else listens to these signals: the sides are back when it acts on them.
void MainWindow::connectBackups()
{
    addBackupCommands();
    notifyOfBackups();
    connect(m_sidebar, &Sidebar::placeChosen, this, &MainWindow::showSides);
    connect(m_sidebar, &Sidebar::placeInNewTabRequested, this, &MainWindow::showSides);
    connect(m_sidebar, &Sidebar::serverChosen, this, &MainWindow::showSides);
    connect(m_sidebar, &Sidebar::serverInNewTabRequested, this, &MainWindow::showSides);
    connect(m_toolBar, &MainToolBar::serverChosen, this, &MainWindow::showSides);
    connect(m_sidebar, &Sidebar::backupChosen, m_backups, &BackupArea::showJob);
    connect(m_sidebar, &Sidebar::newBackupRequested, m_backups, &BackupArea::newJob);
    connect(m_sidebar, &Sidebar::editBackupRequested, m_backups, &BackupArea::editJob);
    for (SideView *view : m_sideViews)
        connect(view, &SideView::archiveRequested, this, &MainWindow::openArchive);
    connect(m_backups, &BackupArea::backRequested, this, &MainWindow::showSides);
    connect(m_backups, &BackupArea::folderRequested, m_sidebar, &Sidebar::placeChosen);
    connect(m_backups, &BackupArea::shown, this, [this] {
        showSides();
        m_middle->setCurrentWidget(m_backups);
        showLocation();
    });
    connect(m_middle, &QStackedWidget::currentChanged, this, [this] {
        m_sidebar->markBackups(showsBackups());
        followSession();
    });
}

/// A failure of what runs unseen has to be seen; beside the notification it stands in the window.
void MainWindow::notifyOfBackups()
{
    m_notifier = new DesktopNotifier(this);
    connect(&m_model.backupEngine(), &BackupEngine::failureRaised, m_notifier,
            [this](const QUuid &job, const QString &name, const QString &sentence) {
                m_notifier->notify(job.toString(), tr("Backup “%1” failed").arg(Format::display(name)), sentence);
            });
    connect(m_notifier, &DesktopNotifier::activated, this, [this](const QString &job) {
        m_backups->showJob(QUuid(job));
        show();
        raise();
        activateWindow();
    });
}

void MainWindow::openArchive(const QString &path)
{
    m_backups->openArchive({std::nullopt, path, {}}, ArchiveView::Task::browse);
}

bool MainWindow::showsBackups() const
{
    return m_middle->currentWidget() == m_backups;
}

} // namespace moorix
