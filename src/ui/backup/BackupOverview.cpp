// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/backup/BackupOverview.h"

#include "app/AppModel.h"
#include "backup/BackupEngine.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupStore.h"
#include "files/Format.h"
#include "servers/ServerStore.h"
#include "ui/MessageBar.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/backup/BackupCard.h"
#include "ui/backup/BackupText.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Widgets::TextRole;

namespace {

constexpr int widestColumn = 1040;

} // namespace

BackupOverview::BackupOverview(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_message(new MessageBar(this))
    , m_problem(Widgets::label({}, TextRole::error, this))
    , m_scroll(new QScrollArea(this))
{
    setObjectName(u"backupOverview"_s);
    m_problem->setObjectName(u"backupStoreProblem"_s);
    m_problem->setContentsMargins(24, 0, 24, 8);
    m_scroll->setProperty("role", u"page"_s);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setWidget(makeBody());
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_message);
    column->addWidget(m_problem);
    column->addWidget(m_scroll, 1);
    followJobs();

    m_clock.setInterval(30s);
    connect(&m_clock, &QTimer::timeout, this, &BackupOverview::refresh);
    connect(&model.backups(), &BackupStore::jobsChanged, this, &BackupOverview::followJobs);
    connect(&model.backups(), &BackupStore::problemChanged, this, &BackupOverview::refresh);
    connect(&model.backupHistory(), &BackupHistoryStore::changed, this, &BackupOverview::refresh);
    connect(&model.servers(), &ServerStore::libraryChanged, this, &BackupOverview::refresh);
    connect(&model.backupEngine(), &BackupEngine::runningJobChanged, this, &BackupOverview::refresh);
    connect(&model.backupEngine(), &BackupEngine::progressChanged, this, [this] {
        for (BackupCard *card : std::as_const(m_cards)) {
            if (m_model.backupEngine().runningJobID() == card->jobID())
                card->showProgress();
        }
    });
}

BackupOverview::~BackupOverview() = default;

QWidget *BackupOverview::makeHeader()
{
    auto *header = new QWidget(this);
    QLabel *title = Widgets::label(tr("Backups"), TextRole::headline, header);
    QLabel *note = Widgets::label(BackupEngine::schedulingNote(), TextRole::muted, header);
    note->setObjectName(u"backupSchedulingNote"_s);
    QPushButton *open = Widgets::button(tr("Open archive…"), u"backupOpenArchive"_s, header);
    QPushButton *add = Widgets::primaryButton(tr("New backup…"), u"backupNew"_s, header);
    auto *words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(note);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(24, 18, 24, 14);
    row->setSpacing(8);
    row->addLayout(words, 1);
    row->addWidget(open);
    row->addWidget(add);
    connect(open, &QPushButton::clicked, this, &BackupOverview::openArchiveRequested);
    connect(add, &QPushButton::clicked, this, &BackupOverview::newRequested);
    return header;
}

QWidget *BackupOverview::makeBody()
{
    auto *body = new QWidget(this);
    body->setProperty("role", u"pageBody"_s);
    body->setMaximumWidth(widestColumn);
    m_column = new QVBoxLayout(body);
    m_column->setContentsMargins(24, 4, 24, 24);
    m_column->setSpacing(12);
    m_empty = makeEmptyState();
    m_column->addWidget(m_empty);
    m_column->addStretch(1);
    return body;
}

QWidget *BackupOverview::makeEmptyState()
{
    auto *empty = new QWidget(this);
    empty->setObjectName(u"backupEmpty"_s);
    auto *icon = new QLabel(empty);
    icon->setPixmap(Theme::icon(u"backup"_s, Theme::Color::mutedText).pixmap(32, 32));
    QLabel *words = Widgets::label(
        tr("A backup packs the files and folders you choose into one archive, as often as you like, and puts it on a "
           "disk or a server. Each archive is checked before older ones go, and can be encrypted.\n\n"
           "Choose “New backup…”, or drag files from a list onto BACKUPS in the sidebar."),
        TextRole::muted, empty);
    words->setAlignment(Qt::AlignHCenter);
    words->setMaximumWidth(520);
    QLabel *title = Widgets::label(tr("Nothing is backed up yet"), TextRole::headline, empty);
    title->setAlignment(Qt::AlignHCenter);
    QPushButton *add = Widgets::primaryButton(tr("Set up a backup…"), u"backupFirst"_s, empty);
    auto *column = new QVBoxLayout(empty);
    column->setContentsMargins(0, 96, 0, 0);
    column->setSpacing(12);
    column->addWidget(icon, 0, Qt::AlignHCenter);
    column->addWidget(title);
    column->addWidget(words, 0, Qt::AlignHCenter);
    column->addSpacing(4);
    column->addWidget(add, 0, Qt::AlignHCenter);
    connect(add, &QPushButton::clicked, this, &BackupOverview::newRequested);
    return empty;
}

void BackupOverview::followJobs()
{
    const QList<BackupJob> &jobs = m_model.backups().jobs();
    QHash<QUuid, BackupCard *> known;
    for (BackupCard *card : std::as_const(m_cards))
        known.insert(card->jobID(), card);
    m_cards.clear();
    for (const BackupJob &job : jobs) {
        BackupCard *card = known.take(job.id);
        m_cards.append(card ? card : makeCard(job.id));
        m_column->insertWidget(int(m_cards.size()), m_cards.constLast());
    }
    for (BackupCard *card : std::as_const(known)) {
        card->hide();
        card->deleteLater();
    }
    for (qsizetype i = 0; i < m_cards.size(); ++i) {
        m_cards.at(i)->setMovable(i > 0, i + 1 < m_cards.size());
        if (i > 0)
            setTabOrder(m_cards.at(i - 1), m_cards.at(i));
    }
    m_empty->setVisible(jobs.isEmpty());
    refresh();
}

BackupCard *BackupOverview::makeCard(const QUuid &job)
{
    auto *card = new BackupCard(m_model, job, this);
    connect(card, &BackupCard::runRequested, this, [this, job] { run(job); });
    connect(card, &BackupCard::archivesRequested, this, [this, job] { emit archivesRequested(job); });
    connect(card, &BackupCard::editRequested, this, [this, job] { emit editRequested(job); });
    connect(card, &BackupCard::removeRequested, this, [this, job] { askToRemove(job); });
    connect(card, &BackupCard::moveRequested, this, [this, job](int by) { move(job, by); });
    connect(card, &BackupCard::stepRequested, this, [this, card](int by) { step(*card, by); });
    return card;
}

void BackupOverview::refresh()
{
    m_problem->setText(m_model.backups().problem());
    m_problem->setVisible(!m_model.backups().problem().isEmpty());
    for (BackupCard *card : std::as_const(m_cards))
        card->refresh();
}

void BackupOverview::run(const QUuid &job)
{
    m_message->dismiss();
    if (const auto refusal = m_model.backupEngine().run(job))
        m_message->tell(*refusal, MessageBar::Tone::warning);
}

void BackupOverview::askToRemove(const QUuid &id)
{
    const auto job = m_model.backups().job(id);
    if (!job)
        return;
    QStringList sentences{tr("Remove the backup “%1”?").arg(Format::display(job->name))};
    if (m_model.backupEngine().runningJobID() == id)
        sentences << tr("Its run in progress ends.");
    sentences << tr("The archives it has made stay where they are.");
    if (job->encrypt) {
        sentences << tr("Its passphrase is removed from the keychain; without it those archives cannot be opened, so "
                        "keep it elsewhere.");
    }
    m_message->ask(sentences.join(u' '), tr("Remove"), MessageBar::Tone::warning,
                   [this, id] { m_model.removeBackup(id); });
}

void BackupOverview::move(const QUuid &job, int by)
{
    const QList<BackupJob> &jobs = m_model.backups().jobs();
    const auto found = std::ranges::find(jobs, job, &BackupJob::id);
    const qsizetype to = found - jobs.begin() + by;
    if (found == jobs.end() || to < 0 || to >= jobs.size())
        return;
    m_model.backups().move(job, to);
    focusJob(job);
}

void BackupOverview::step(const BackupCard &from, int by)
{
    const auto found = std::ranges::find(m_cards, &from);
    const qsizetype to = found - m_cards.begin() + by;
    if (to >= 0 && to < m_cards.size())
        focusJob(m_cards.at(to)->jobID());
}

void BackupOverview::focusJob(const QUuid &job)
{
    if (m_cards.isEmpty()) {
        findChild<QPushButton *>(u"backupFirst"_s)->setFocus();
        return;
    }
    const auto found = std::ranges::find(m_cards, job, &BackupCard::jobID);
    BackupCard *card = found == m_cards.end() ? m_cards.constFirst() : *found;
    card->setFocus();
    m_scroll->ensureWidgetVisible(card);
}

void BackupOverview::tell(const QString &sentence, bool isWarning)
{
    m_message->tell(sentence, isWarning ? MessageBar::Tone::warning : MessageBar::Tone::information);
}

void BackupOverview::showEvent(QShowEvent *event)
{
    refresh();
    m_clock.start();
    QWidget::showEvent(event);
}

void BackupOverview::hideEvent(QHideEvent *event)
{
    m_clock.stop();
    QWidget::hideEvent(event);
}

} // namespace moorix
