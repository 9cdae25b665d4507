// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupJobPage.h"

#include "app/AppModel.h"
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "files/Format.h"
#include "servers/ServerStore.h"
#include "ui/RoomyDelegate.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/backup/BackupText.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

namespace {

enum Role { pathRole = Qt::UserRole, folderRole };

QTreeWidget *table(const QString &objectName, const QString &name, const QStringList &titles, QWidget *parent)
{
    auto *made = new QTreeWidget(parent);
    made->setObjectName(objectName);
    made->setAccessibleName(name);
    made->setProperty("role", u"table"_s);
    made->setItemDelegate(new RoomyDelegate(made));
    made->setHeaderLabels(titles);
    made->setRootIsDecorated(false);
    made->setUniformRowHeights(true);
    made->setTabKeyNavigation(false);
    made->header()->setStretchLastSection(false);
    return made;
}

QString resultText(const BackupRecord &run)
{
    const QString notes = run.notes.isEmpty() ? QString() : u" — "_s + run.notes.join(u' ');
    return run.status.section(u'\n', 0, 0) + notes;
}

} // namespace

BackupJobPage::BackupJobPage(AppModel &model, const QUuid &job, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_jobID(job)
    , m_source(model)
{
    setObjectName(u"backupJobPage"_s);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    auto *body = new QVBoxLayout;
    body->setContentsMargins(24, 0, 24, 20);
    body->setSpacing(8);
    addArchives(*body);
    addRuns(*body);
    column->addLayout(body, 1);
    setFocusProxy(m_archives);
    connect(&model.backupHistory(), &BackupHistoryStore::changed, this, &BackupJobPage::showRuns);
    connect(&model.backupEngine(), &BackupEngine::runEnded, this, [this](const QUuid &ended) {
        if (ended == m_jobID)
            loadArchives();
    });
    showRuns();
    loadArchives();
}

BackupJobPage::~BackupJobPage() = default;

QString BackupJobPage::title() const
{
    return Format::display(m_model.backups().job(m_jobID).value_or(BackupJob()).name);
}

QWidget *BackupJobPage::makeHeader()
{
    auto *header = new QWidget(this);
    QToolButton *back = Widgets::iconButton(u"go-previous-view"_s, tr("Back (Esc)"), u"backupBack"_s, header);
    const BackupJob job = m_model.backups().job(m_jobID).value_or(BackupJob());
    const auto server = job.destinationServerID ? m_model.servers().server(*job.destinationServerID) : std::nullopt;
    const QString where = BackupText::destination(job, server ? std::optional(server->displayName()) : std::nullopt);
    auto *words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(Widgets::label(title(), TextRole::headline, header));
    words->addWidget(
        Widgets::label(tr("Backs up %1").arg(where) + u", "_s + BackupText::form(job), TextRole::muted, header));
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(16, 14, 24, 12);
    row->addWidget(back, 0, Qt::AlignTop);
    row->addLayout(words, 1);
    connect(back, &QToolButton::clicked, this, &BackupJobPage::closed);
    return header;
}

void BackupJobPage::addArchives(QVBoxLayout &column)
{
    m_archives =
        table(u"archiveList"_s, tr("Archives at the destination"), {tr("Archive"), tr("Size"), tr("Date")}, this);
    m_archives->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_archives->header()->resizeSection(1, 110);
    m_archives->headerItem()->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    m_archives->header()->resizeSection(2, 190);
    m_state = Widgets::label({}, TextRole::muted, this);
    m_state->setObjectName(u"archiveListState"_s);
    m_restore = Widgets::primaryButton(tr("Restore…"), u"archiveRestore"_s, this);
    m_verify = Widgets::button(tr("Verify"), u"archiveListVerify"_s, this);
    m_decrypt = Widgets::button(tr("Decrypt && Save…"), u"archiveListDecrypt"_s, this);
    QToolButton *reload = Widgets::iconButton(u"view-refresh"_s, tr("Look again"), u"archiveListReload"_s, this);
    auto *buttons = new QHBoxLayout;
    for (QPushButton *button : {m_restore, m_verify, m_decrypt})
        buttons->addWidget(button);
    buttons->addWidget(m_state, 1);
    buttons->addWidget(reload);
    column.addWidget(Widgets::label(tr("Archives at the destination"), TextRole::heading, this));
    column.addWidget(m_archives, 3);
    column.addLayout(buttons);
    connect(m_archives, &QTreeWidget::itemSelectionChanged, this, &BackupJobPage::updateButtons);
    connect(m_archives, &QTreeWidget::itemActivated, this, [this] { act(ArchiveView::Task::browse); });
    connect(m_restore, &QPushButton::clicked, this, [this] { act(ArchiveView::Task::browse); });
    connect(m_verify, &QPushButton::clicked, this, [this] { act(ArchiveView::Task::verify); });
    connect(m_decrypt, &QPushButton::clicked, this, [this] { act(ArchiveView::Task::decrypt); });
    connect(reload, &QToolButton::clicked, this, &BackupJobPage::loadArchives);
}

void BackupJobPage::addRuns(QVBoxLayout &column)
{
    m_runs = table(u"runList"_s, tr("Runs on this computer"), {tr("Started"), tr("Result"), tr("Duration"), tr("Size")},
                   this);
    m_runs->header()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_runs->header()->resizeSection(0, 200);
    m_runs->header()->resizeSection(2, 110);
    m_runs->header()->resizeSection(3, 110);
    m_runs->headerItem()->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
    m_runs->setWordWrap(true);
    column.addSpacing(10);
    column.addWidget(Widgets::label(tr("Runs on this computer"), TextRole::heading, this));
    column.addWidget(m_runs, 2);
}

void BackupJobPage::loadArchives()
{
    const auto job = m_model.backups().job(m_jobID);
    if (!job)
        return;
    m_archives->clear();
    m_state->setText(tr("Looking at the destination…"));
    Widgets::setStyleProperty(*m_state, "role", u"muted"_s);
    updateButtons();
    m_job =
        runJob([source = m_source, job = *job](const std::stop_token &stop) { return source.archivesOf(job, stop); },
               [this](const QList<FileItem> &archives) { showArchives(archives); },
               [this](const Error &error) {
                   m_state->setText(error.message());
                   Widgets::setStyleProperty(*m_state, "role", u"error"_s);
               });
}

void BackupJobPage::showArchives(const QList<FileItem> &archives)
{
    for (const FileItem &archive : archives) {
        const QString size = archive.isDirectory ? tr("folder") : Format::byteCount(archive.size);
        const QString date = Format::date(archive.modified ? std::optional(archive.modified->toLocalTime())
                                                           : std::optional<QDateTime>());
        auto *item = new QTreeWidgetItem(m_archives, {Format::display(archive.name), size, date});
        const QString icon = archive.name.endsWith(u".enc"_s) ? u"document-encrypt"_s : u"application-zip"_s;
        item->setIcon(0, archive.isDirectory ? Theme::fileIcon(archive) : Theme::icon(icon, Theme::Color::mutedText));
        item->setData(0, pathRole, archive.path);
        item->setData(0, folderRole, archive.isDirectory);
        item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    }
    m_state->setText(archives.isEmpty() ? tr("No archive of this backup is there yet.") : QString());
    if (m_archives->topLevelItemCount() > 0)
        m_archives->setCurrentItem(m_archives->topLevelItem(0));
    updateButtons();
}

void BackupJobPage::showRuns()
{
    m_runs->clear();
    const auto state = m_model.backupHistory().state(m_jobID);
    for (const BackupRecord &run : state ? state->runs : QList<BackupRecord>()) {
        const QString size = run.bytes > 0 ? Format::byteCount(run.bytes) : QString();
        const QString started = Format::date(run.started.toLocalTime());
        auto *item = new QTreeWidgetItem(m_runs, {started, resultText(run), BackupText::duration(run), size});
        item->setToolTip(1, Widgets::toolTip((QStringList{run.status} + run.notes).join(u'\n')));
        item->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
        const bool hasFailed = run.result == BackupRecord::Result::failed;
        item->setForeground(1, Theme::color(hasFailed ? Theme::Color::danger : Theme::Color::text));
    }
}

void BackupJobPage::updateButtons()
{
    const QTreeWidgetItem *item = m_archives->selectedItems().value(0);
    const bool isFolder = item && item->data(0, folderRole).toBool();
    const bool isLocal = !m_model.backups().job(m_jobID).value_or(BackupJob()).destinationServerID;
    const bool isEncrypted = item && item->data(0, pathRole).toString().endsWith(u".enc"_s);
    m_restore->setText(isFolder ? tr("Show the folder") : tr("Restore…"));
    m_restore->setEnabled(item && (!isFolder || isLocal));
    m_verify->setEnabled(item && !isFolder);
    m_decrypt->setEnabled(isEncrypted);
}

void BackupJobPage::act(ArchiveView::Task task)
{
    const QTreeWidgetItem *item = m_archives->selectedItems().value(0);
    const auto job = m_model.backups().job(m_jobID);
    if (!item || !job)
        return;
    const QString path = item->data(0, pathRole).toString();
    if (!item->data(0, folderRole).toBool())
        emit archiveRequested({job->destinationServerID, path, m_jobID}, task);
    else if (!job->destinationServerID)
        emit folderRequested(path);
}

} // namespace moorix
