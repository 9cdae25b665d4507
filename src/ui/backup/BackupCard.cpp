// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupCard.h"

#include "app/AppModel.h"
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupSchedule.h"
#include "backup/BackupStore.h"
#include "base/Clock.h"
#include "files/Format.h"
#include "servers/ServerStore.h"
#include "ui/CheckBox.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/backup/BackupText.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace moorix {

using namespace Qt::StringLiterals;
using Widgets::TextRole;

namespace {

void say(QLabel &label, const BackupText::Line &line)
{
    label.setText(line.text);
    label.setVisible(!line.text.isEmpty());
    Widgets::setStyleProperty(label, "tone", BackupText::toneName(line.tone));
}

} // namespace

BackupCard::BackupCard(AppModel &model, const QUuid &job, QWidget *parent)
    : QFrame(parent)
    , m_model(model)
    , m_jobID(job)
{
    setObjectName(u"backupCard"_s);
    setProperty("role", u"card"_s);
    setFocusPolicy(Qt::StrongFocus);
    makeRows();
    refresh();
}

void BackupCard::makeRows()
{
    const auto label = [this](TextRole role, const QString &objectName) {
        QLabel *made = Widgets::label({}, role, this);
        made->setObjectName(objectName);
        return made;
    };
    m_icon = new QLabel(this);
    m_name = label(TextRole::heading, u"backupName"_s);
    m_enabled = new CheckBox(tr("On schedule"), this);
    m_enabled->setObjectName(u"backupEnabled"_s);
    m_schedule = label(TextRole::muted, u"backupSchedule"_s);
    m_lastGood = label(TextRole::body, u"backupLastGood"_s);
    m_next = label(TextRole::muted, u"backupNextRun"_s);
    m_status = label(TextRole::body, u"backupStatus"_s);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_notes = label(TextRole::muted, u"backupNotes"_s);

    auto *top = new QHBoxLayout;
    top->setSpacing(10);
    top->addWidget(m_icon);
    top->addWidget(m_name, 1);
    top->addWidget(m_enabled);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(16, 12, 16, 12);
    column->setSpacing(5);
    column->addLayout(top);
    column->addWidget(m_schedule);
    column->addSpacing(4);
    for (QLabel *line : {m_lastGood, m_status, m_notes, m_next})
        column->addWidget(line);
    column->addWidget(makeProgress());
    column->addSpacing(5);
    column->addLayout(makeButtons());
    connect(m_enabled, &QCheckBox::clicked, this, [this](bool isOn) { m_model.backups().setEnabled(m_jobID, isOn); });
}

QWidget *BackupCard::makeProgress()
{
    m_progress = new QWidget(this);
    m_progressText = Widgets::label({}, TextRole::body, m_progress);
    m_progressText->setObjectName(u"backupProgress"_s);
    m_amount = Widgets::label({}, TextRole::muted, m_progress);
    m_amount->setWordWrap(false);
    m_bar = new QProgressBar(m_progress);
    m_bar->setObjectName(u"backupBar"_s);
    m_bar->setTextVisible(false);
    m_cancel = Widgets::button(tr("Cancel"), u"backupCancel"_s, m_progress);
    auto *words = new QHBoxLayout;
    words->addWidget(m_progressText, 1);
    words->addWidget(m_amount);
    auto *lines = new QVBoxLayout;
    lines->setSpacing(4);
    lines->addLayout(words);
    lines->addWidget(m_bar);
    auto *row = new QHBoxLayout(m_progress);
    row->setContentsMargins(0, 4, 0, 0);
    row->setSpacing(12);
    row->addLayout(lines, 1);
    row->addWidget(m_cancel);
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        m_cancel->setEnabled(false);
        m_cancel->setText(tr("Stopping…"));
        m_model.backupEngine().cancel();
    });
    return m_progress;
}

QHBoxLayout *BackupCard::makeButtons()
{
    m_run = Widgets::button(tr("Back up now"), u"backupRun"_s, this);
    QPushButton *archives = Widgets::button(tr("Archives…"), u"backupArchives"_s, this);
    QToolButton *edit = Widgets::iconButton(u"document-edit"_s, tr("Edit (F4)"), u"backupEdit"_s, this);
    QToolButton *remove = Widgets::iconButton(u"edit-delete"_s, tr("Remove (Del)"), u"backupRemove"_s, this);
    m_up = Widgets::iconButton(u"go-up"_s, tr("Move up (Ctrl+Up)"), u"backupUp"_s, this);
    m_down = Widgets::iconButton(u"go-down"_s, tr("Move down (Ctrl+Down)"), u"backupDown"_s, this);
    auto *row = new QHBoxLayout;
    row->setSpacing(6);
    row->addWidget(m_run);
    row->addWidget(archives);
    row->addStretch(1);
    for (QToolButton *button : {m_up, m_down, edit, remove}) {
        button->setFocusPolicy(Qt::TabFocus);
        row->addWidget(button);
    }
    connect(m_run, &QPushButton::clicked, this, &BackupCard::runRequested);
    connect(archives, &QPushButton::clicked, this, &BackupCard::archivesRequested);
    connect(edit, &QToolButton::clicked, this, &BackupCard::editRequested);
    connect(remove, &QToolButton::clicked, this, &BackupCard::removeRequested);
    connect(m_up, &QToolButton::clicked, this, [this] { emit moveRequested(-1); });
    connect(m_down, &QToolButton::clicked, this, [this] { emit moveRequested(1); });
    return row;
}

void BackupCard::setMovable(bool up, bool down)
{
    m_up->setVisible(up || down);
    m_down->setVisible(up || down);
    m_up->setEnabled(up);
    m_down->setEnabled(down);
}

void BackupCard::refresh()
{
    const auto job = m_model.backups().job(m_jobID);
    if (!job)
        return;
    setAccessibleName(job->name);
    m_name->setText(Format::display(job->name));
    m_enabled->setChecked(job->enabled);
    const auto server = job->destinationServerID ? m_model.servers().server(*job->destinationServerID) : std::nullopt;
    const auto serverName = server ? std::optional(server->displayName()) : std::nullopt;
    const QString schedule = BackupSchedule::scheduleDescription(*job);
    m_schedule->setText(
        QStringList{schedule, BackupText::destination(*job, serverName), BackupText::form(*job)}.join(u"  ·  "_s));
    showStanding(*job);
    showRunning(*job);
}

void BackupCard::showStanding(const BackupJob &job)
{
    const QDateTime now = systemNow();
    const auto state = m_model.backupHistory().state(m_jobID);
    const BackupText::Line good = BackupText::lastGood(job, state, now);
    const BackupText::Line status = BackupText::status(job, state, now);
    say(*m_lastGood, good);
    say(*m_status, status);
    // A failure may be one that another computer has told of.
    const bool isOfLastRun =
        state && !state->runs.isEmpty() && (job.lastSuccess || state->runs.constFirst().status == job.lastStatus);
    const QStringList notes = isOfLastRun ? state->runs.constFirst().notes : QStringList();
    m_notes->setText(notes.join(u' '));
    m_notes->setVisible(!notes.isEmpty());
    m_next->setText(BackupText::nextRun(m_model.backupEngine().nextRun(job), now));
    m_run->setText(status.tone == BackupText::Tone::danger ? tr("Try again") : tr("Back up now"));
    const auto tone = std::max(good.tone, status.tone);
    const Theme::Color colors[] = {Theme::Color::mutedText, Theme::Color::success, Theme::Color::warning,
                                   Theme::Color::danger};
    m_icon->setPixmap(Theme::icon(job.encrypt ? u"document-encrypt"_s : u"backup"_s, colors[int(tone)]).pixmap(16, 16));
}

void BackupCard::showRunning(const BackupJob &job)
{
    const BackupEngine &engine = m_model.backupEngine();
    const bool isRunning = engine.runningJobID() == m_jobID;
    const bool hadFocus = m_cancel->hasFocus() || m_run->hasFocus();
    m_progress->setVisible(isRunning);
    m_run->setVisible(!isRunning);
    m_status->setVisible(!isRunning && !m_status->text().isEmpty());
    m_next->setVisible(!isRunning);
    m_run->setEnabled(!engine.runningJobID());
    m_run->setToolTip(engine.runningJobID() ? tr("Another backup is running.") : QString());
    if (!isRunning) {
        m_cancel->setEnabled(true);
        m_cancel->setText(tr("Cancel"));
    } else {
        m_notes->setText(engine.note());
        m_notes->setVisible(!engine.note().isEmpty());
        m_progress->setAccessibleName(tr("Progress of %1").arg(job.name));
        showProgress();
    }
    if (hadFocus)
        (isRunning ? m_cancel : m_run)->setFocus();
}

void BackupCard::showProgress()
{
    const BackupProgress &progress = m_model.backupEngine().progressInBytes();
    m_progressText->setText(progress.text);
    m_amount->setText(BackupText::amount(progress.bytesDone, progress.bytesTotal));
    // Without a total it only shows that something goes on.
    m_bar->setRange(0, progress.bytesTotal > 0 ? 1000 : 0);
    if (progress.bytesTotal > 0)
        m_bar->setValue(int(1000.0 * double(progress.bytesDone) / double(progress.bytesTotal)));
}

bool BackupCard::event(QEvent *event)
{
    // The window would take it for its own command.
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent *>(event)->key() == Qt::Key_F4) {
        event->accept();
        return true;
    }
    return QFrame::event(event);
}

void BackupCard::keyPressEvent(QKeyEvent *event)
{
    const bool moves = event->modifiers().testFlag(Qt::ControlModifier);
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit archivesRequested();
        return;
    case Qt::Key_Space:
        m_enabled->click();
        return;
    case Qt::Key_F4:
        emit editRequested();
        return;
    case Qt::Key_Delete:
        emit removeRequested();
        return;
    case Qt::Key_Up:
    case Qt::Key_Down: {
        const int by = event->key() == Qt::Key_Up ? -1 : 1;
        emit moves ? moveRequested(by) : stepRequested(by);
        return;
    }
    default:
        QFrame::keyPressEvent(event);
    }
}

} // namespace moorix
