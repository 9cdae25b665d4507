// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupArea.h"

#include "app/AppModel.h"
#include "backup/BackupStore.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "ui/backup/BackupEditor.h"
#include "ui/backup/BackupJobPage.h"
#include "ui/backup/BackupOverview.h"

#include <QFileDialog>
#include <QKeyEvent>

namespace moorix {

BackupArea::BackupArea(AppModel &model, QWidget *parent)
    : QStackedWidget(parent)
    , m_model(model)
    , m_overview(new BackupOverview(model, this))
{
    setObjectName(QStringLiteral("backupArea"));
    addWidget(m_overview);
    connect(m_overview, &BackupOverview::newRequested, this, [this] { newJob({}); });
    connect(m_overview, &BackupOverview::archivesRequested, this, &BackupArea::openJobPage);
    connect(m_overview, &BackupOverview::openArchiveRequested, this, &BackupArea::chooseArchive);
    connect(m_overview, &BackupOverview::editRequested, this, [this](const QUuid &job) { editJob(job); });
}

BackupArea::~BackupArea() = default;

void BackupArea::showBackups()
{
    emit shown();
    focusContent();
}

void BackupArea::showJob(const QUuid &job)
{
    emit shown();
    leavePage([this, job] { closePage(job); });
}

void BackupArea::newJob(const QStringList &sources)
{
    BackupJob job;
    if (!sources.isEmpty())
        job.name = Format::display(Format::fileName(sources.constFirst()));
    openEditor(job, true, sources);
}

void BackupArea::editJob(const QUuid &id, const QStringList &moreSources)
{
    if (const auto job = m_model.backups().job(id))
        openEditor(*job, false, moreSources);
}

void BackupArea::openEditor(const BackupJob &job, bool isNew, const QStringList &sources)
{
    emit shown();
    leavePage([this, job, isNew, sources] {
        m_isArchive = false;
        m_editor =
            new BackupEditor(m_model, job, isNew ? BackupEditor::Purpose::create : BackupEditor::Purpose::edit, this);
        connect(m_editor, &BackupEditor::saved, this, &BackupArea::finishEditing);
        connect(m_editor, &BackupEditor::closed, this, [this, id = job.id] { closePage(id); });
        showPage(m_editor);
        m_pageJob = job.id;
        if (!sources.isEmpty())
            m_editor->addSources(sources);
    });
}

void BackupArea::openJobPage(const QUuid &job)
{
    auto *page = new BackupJobPage(m_model, job, this);
    connect(page, &BackupJobPage::closed, this, &BackupArea::goBack);
    connect(page, &BackupJobPage::archiveRequested, this, &BackupArea::openArchive);
    connect(page, &BackupJobPage::folderRequested, this, &BackupArea::folderRequested);
    m_pageJob = job;
    m_title = page->title();
    showPage(page);
}

void BackupArea::chooseArchive()
{
    emit shown();
    auto *dialog = new QFileDialog(this, tr("Open a backup's archive"), AppPaths::home(),
                                   tr("Archives (*.zip *.zip.enc);;All files (*)"));
    dialog->setObjectName(QStringLiteral("openArchiveDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        openArchive({std::nullopt, path, {}}, ArchiveView::Task::browse);
    });
    dialog->open();
}

void BackupArea::openArchive(const ArchivePlace &place, ArchiveView::Task task)
{
    emit shown();
    leavePage([this, place, task] {
        auto *page = new ArchiveView(m_model, place, task, this);
        connect(page, &ArchiveView::closed, this, &BackupArea::goBack);
        connect(page, &ArchiveView::folderRequested, this, &BackupArea::folderRequested);
        m_pageJob = place.job;
        m_title = page->title();
        m_isArchive = true;
        showPage(page);
    });
}

void BackupArea::finishEditing(const BackupJob &job, const QString &problem)
{
    closePage(job.id);
    if (!problem.isEmpty()) {
        m_overview->tell(
            tr("“%1” is saved, but its passphrase is not in the keychain: %2 It is remembered until Moorix "
               "ends.")
                .arg(Format::display(job.name), problem),
            true);
    }
}

void BackupArea::leavePage(const std::function<void()> &then)
{
    if (m_editor)
        m_editor->leave(then);
    else
        then();
}

void BackupArea::showPage(QWidget *page)
{
    QWidget *old = m_page;
    m_page = page;
    if (page != m_editor)
        m_editor = nullptr;
    addWidget(page);
    setCurrentWidget(page);
    focusContent();
    if (old) {
        removeWidget(old);
        old->deleteLater();
    }
    emit shown();
}

void BackupArea::closePage(const QUuid &job)
{
    setCurrentWidget(m_overview);
    m_overview->focusJob(job);
    m_editor = nullptr;
    m_isArchive = false;
    if (m_page) {
        removeWidget(m_page);
        // It may be the page itself that asked for this.
        m_page->hide();
        m_page->deleteLater();
        m_page = nullptr;
    }
    emit shown();
}

void BackupArea::focusContent()
{
    if (!m_page)
        m_overview->focusJob({});
    else
        m_page->setFocus();
}

QString BackupArea::title() const
{
    if (m_editor)
        return m_editor->title();
    return m_page ? m_title : tr("Backups");
}

void BackupArea::goBack()
{
    if (!m_page) {
        emit backRequested();
    } else if (m_isArchive && m_model.backups().job(m_pageJob)) {
        m_isArchive = false;
        openJobPage(m_pageJob);
    } else {
        leavePage([this] { closePage(m_pageJob); });
    }
}

void BackupArea::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        goBack();
    else
        QStackedWidget::keyPressEvent(event);
}

} // namespace moorix
