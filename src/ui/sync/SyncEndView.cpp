// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncEndView.h"

#include "files/Format.h"
#include "sync/SyncSession.h"
#include "sync/SyncText.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

namespace {

using State = SyncSession::State;

QString summaryOf(const SyncOutcome &outcome)
{
    const QString summary = SyncText::summary(outcome);
    return outcome.bytesCopied > 0
               ? SyncEndView::tr("%1 · %2 copied").arg(summary, Format::byteCount(outcome.bytesCopied))
               : summary;
}

} // namespace

SyncEndView::SyncEndView(SyncSession &session, QWidget *parent)
    : QFrame(parent)
    , m_session(session)
    , m_sign(new QLabel(this))
    , m_title(Widgets::label({}, Widgets::TextRole::heading, this))
    , m_words(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_notes(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_again(Widgets::primaryButton(tr("Sync again"), QStringLiteral("syncAgain"), this))
{
    setObjectName(QStringLiteral("syncEnd"));
    m_title->setObjectName(QStringLiteral("syncEndTitle"));
    m_words->setObjectName(QStringLiteral("syncEndWords"));
    m_notes->setObjectName(QStringLiteral("syncEndNotes"));
    for (QLabel *label : {m_title, m_words, m_notes})
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_again->setAutoDefault(true);
    auto *words = new QVBoxLayout;
    words->setSpacing(4);
    words->addWidget(m_title);
    words->addWidget(m_words);
    words->addWidget(m_notes);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(16, 12, 16, 12);
    row->setSpacing(12);
    row->addWidget(m_sign, 0, Qt::AlignTop);
    row->addLayout(words, 1);
    row->addWidget(m_again, 0, Qt::AlignTop);
    connect(m_again, &QPushButton::clicked, &session, &SyncSession::look);
    connect(&session, &SyncSession::stateChanged, this, &SyncEndView::follow);
    setFocusProxy(m_again);
    follow();
}

void SyncEndView::showSign(const QString &iconName, int color)
{
    m_sign->setPixmap(Theme::icon(iconName, Theme::Color(color)).pixmap(QSize(20, 20), devicePixelRatioF()));
}

void SyncEndView::follow()
{
    const State state = m_session.state();
    if (state != State::done && state != State::failed && state != State::cancelled)
        return;
    const std::optional<SyncOutcome> &outcome = m_session.outcome();
    const QString problem = m_session.problem();
    QStringList words;
    if (state == State::done) {
        const bool isWhole = outcome->openCount() == 0;
        m_title->setText(isWhole ? tr("Both sides are alike") : tr("Synced, but not everything"));
        isWhole ? showSign(QStringLiteral("dialog-ok-apply"), int(Theme::Color::success))
                : showSign(QStringLiteral("data-warning"), int(Theme::Color::warning));
    } else if (state == State::cancelled) {
        m_title->setText(outcome ? tr("Cancelled") : tr("Cancelled. Nothing was synced"));
        showSign(QStringLiteral("dialog-cancel"), int(Theme::Color::mutedText));
    } else {
        m_title->setText(problem.section(u'\n', 0, 0));
        showSign(QStringLiteral("data-warning"), int(Theme::Color::danger));
        words << problem.section(u'\n', 1).trimmed();
    }
    if (outcome)
        words << summaryOf(*outcome);
    words.removeAll(QString());
    m_words->setText(words.join(u'\n'));
    m_words->setVisible(!words.isEmpty());
    m_notes->setText(outcome ? outcome->notes.join(u'\n') : QString());
    m_notes->setVisible(!m_notes->text().isEmpty());
    m_again->setText(state == State::done ? tr("Sync again") : tr("Try again"));
}

} // namespace moorix
