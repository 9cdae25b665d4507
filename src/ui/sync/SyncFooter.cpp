// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncFooter.h"

#include "sync/SyncSession.h"
#include "sync/SyncText.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncLook.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPushButton>

#include <algorithm>

namespace moorix {

SyncFooter::SyncFooter(SyncSession &session, QWidget *parent)
    : QFrame(parent)
    , m_session(session)
    , m_summary(Widgets::label({}, Widgets::TextRole::body, this))
    , m_conflicts(Widgets::button(tr("For all conflicts…"), QStringLiteral("syncConflicts"), this))
    , m_sync(Widgets::primaryButton({}, QStringLiteral("syncApply"), this))
{
    setObjectName(QStringLiteral("syncFooter"));
    m_summary->setObjectName(QStringLiteral("syncSummary"));
    m_sync->setAutoDefault(true);
    setFocusProxy(m_sync);
    addAnswers();
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 9, 12, 9);
    row->setSpacing(10);
    row->addWidget(m_summary, 1);
    row->addWidget(m_conflicts);
    row->addWidget(m_sync);
    connect(m_sync, &QPushButton::clicked, &session, &SyncSession::apply);
    connect(&session, &SyncSession::stateChanged, this, &SyncFooter::follow);
    connect(&session, &SyncSession::rowsChanged, this, &SyncFooter::follow);
    connect(&session, &SyncSession::confirmed, this, &SyncFooter::follow);
    follow();
}

void SyncFooter::addAnswers()
{
    auto *menu = new QMenu(m_conflicts);
    const std::pair<SyncChoice, QString> answers[] = {{SyncChoice::localWins, QStringLiteral("conflictsLocal")},
                                                      {SyncChoice::remoteWins, QStringLiteral("conflictsRemote")},
                                                      {SyncChoice::keepBoth, QStringLiteral("conflictsBoth")},
                                                      {SyncChoice::skip, QStringLiteral("conflictsSkip")}};
    for (const auto &[choice, name] : answers) {
        QAction *action = menu->addAction(SyncLook::choiceText(choice, nullptr), this,
                                          [this, choice = choice] { m_session.resolveConflicts(choice); });
        action->setObjectName(name);
    }
    m_conflicts->setMenu(menu);
}

bool SyncFooter::isUseful() const
{
    const SyncPlan &plan = m_session.plan();
    return m_session.state() == SyncSession::State::review &&
           (plan.isFirst || std::ranges::any_of(plan.rows, [](const SyncRow &row) {
                return row.action != SyncAction::none || row.diff.bucket != SyncBucket::unchanged;
            }));
}

void SyncFooter::follow()
{
    if (m_session.state() != SyncSession::State::review)
        return;
    const SyncPlan &plan = m_session.plan();
    const qsizetype changes = plan.changeCount();
    QString summary = SyncText::summary(plan);
    if (changes == 0 && plan.isFirst && summary == SyncText::summary(SyncPlan()))
        summary += u' ' + tr("Once that is recorded, deletions are carried over, too.");
    if (std::ranges::any_of(plan.rows, [](const SyncRow &row) { return row.action == SyncAction::removeRemote; }))
        summary += tr(". What is deleted on the server is not kept anywhere.");
    m_summary->setText(summary);
    m_conflicts->setVisible(std::ranges::any_of(
        plan.rows, [](const SyncRow &row) { return row.diff.bucket == SyncBucket::conflict && !row.isBlocked; }));
    m_sync->setText(changes == 0   ? tr("Record this state")
                    : changes == 1 ? tr("Sync 1 change")
                                   : tr("Sync %Ln changes", nullptr, int(changes)));
    m_sync->setVisible(changes > 0 || plan.isFirst || plan.count(SyncBucket::bothMissing) > 0);
    m_sync->setEnabled(!m_session.needsAnswer());
    m_sync->setToolTip(m_session.needsAnswer() ? tr("Answer the questions above first") : tr("Ctrl+Return"));
}

} // namespace moorix
