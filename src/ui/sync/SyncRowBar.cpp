// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncRowBar.h"

#include "base/Error.h"
#include "compare/DiffLoader.h"
#include "files/Format.h"
#include "sync/SyncSession.h"
#include "sync/SyncText.h"
#include "ui/ComparisonText.h"
#include "ui/ElidedLabel.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncListView.h"
#include "ui/sync/SyncLook.h"
#include "ui/sync/SyncRowsModel.h"

#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

SyncRowBar::SyncRowBar(SyncSession &session, SyncRowsModel &rows, SyncListView &list, QWidget *parent)
    : QFrame(parent)
    , m_session(session)
    , m_rows(rows)
    , m_list(list)
    , m_title(new ElidedLabel(Qt::ElideMiddle, this))
    , m_facts(new ElidedLabel(Qt::ElideRight, this))
    , m_compare(Widgets::button(tr("Compare…"), QStringLiteral("syncCompare"), this))
{
    setObjectName(QStringLiteral("syncRowBar"));
    m_facts->setObjectName(QStringLiteral("syncRowFacts"));
    m_facts->setProperty("role", QStringLiteral("muted"));
    m_compare->setToolTip(tr("Shows both files line by line (C); of large ones, tells whether they hold the same"));
    auto *words = new QVBoxLayout;
    words->setSpacing(1);
    words->addWidget(m_title);
    words->addWidget(m_facts);
    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    row->addStretch(1);
    row->addWidget(m_compare);
    addChoice(*row, SyncChoice::remoteWins, QStringLiteral("syncRemoteWins"));
    addChoice(*row, SyncChoice::localWins, QStringLiteral("syncLocalWins"));
    addChoice(*row, SyncChoice::keepBoth, QStringLiteral("syncKeepBoth"));
    addChoice(*row, SyncChoice::skip, QStringLiteral("syncSkip"));
    m_parts = new QBoxLayout(QBoxLayout::LeftToRight, this);
    m_parts->setContentsMargins(12, 7, 12, 7);
    m_parts->setSpacing(8);
    m_parts->addLayout(words, 1);
    m_parts->addLayout(row);
    connect(m_compare, &QPushButton::clicked, this, &SyncRowBar::compare);
    connect(&list, &SyncListView::selectedRowsChanged, this, &SyncRowBar::follow);
    connect(&rows, &QAbstractItemModel::modelReset, this, &SyncRowBar::follow);
    connect(&session, &SyncSession::rowsChanged, this, &SyncRowBar::follow);
    connect(&session, &SyncSession::stateChanged, this, &SyncRowBar::follow);
    follow();
}

/// In a narrow window the buttons stand beneath.
void SyncRowBar::resizeEvent(QResizeEvent *event)
{
    constexpr int narrow = 820;
    m_parts->setDirection(width() < narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    QFrame::resizeEvent(event);
}

QSize SyncRowBar::minimumSizeHint() const
{
    return {0, QFrame::minimumSizeHint().height()};
}

void SyncRowBar::addChoice(QHBoxLayout &row, SyncChoice choice, const QString &objectName)
{
    QPushButton *button = Widgets::button({}, objectName, this);
    button->setCheckable(true);
    row.addWidget(button);
    m_choices.push_back({choice, button});
    connect(button, &QPushButton::clicked, this, [this, choice] {
        m_list.choose(choice);
        follow();
    });
}

void SyncRowBar::follow()
{
    const QList<qsizetype> places = m_rows.places(m_list.selectionModel()->selectedRows());
    setVisible(!places.isEmpty() && !m_session.isBusy());
    if (places.isEmpty() || m_session.isBusy())
        return;
    if (places.size() != 1 || places.constFirst() != m_compared) {
        m_comparing.cancel();
        m_compared = -1;
        showFacts(places);
    }
    m_compare->setVisible(comparable() >= 0);
    const QList<SyncRow> &rows = m_session.plan().rows;
    const SyncRow *only = places.size() == 1 ? &rows.at(places.constFirst()) : nullptr;
    const bool isOpen = m_session.state() == SyncSession::State::review;
    for (const Choice &choice : m_choices) {
        // Of very many rows not all are looked at.
        const auto looked = places.first(std::min<qsizetype>(places.size(), 2000));
        const bool isOffered = std::ranges::any_of(looked, [&](qsizetype place) {
            const SyncRow &row = rows.at(place);
            const SyncAction action = actionFor(row, choice.choice);
            return row.choices().size() > 1 &&
                   (choice.choice == SyncChoice::keepBoth ? action == SyncAction::keepBoth : true);
        });
        choice.button->setVisible(isOpen && isOffered);
        choice.button->setText(SyncLook::choiceText(choice.choice, only));
        choice.button->setChecked(only && actionFor(*only, choice.choice) == only->action);
    }
}

void SyncRowBar::showFacts(const QList<qsizetype> &places)
{
    if (places.size() > 1) {
        m_title->setText(tr("%Ln rows", nullptr, int(places.size())));
        m_facts->setText(tr("What is chosen goes for all of them."));
        return;
    }
    const SyncRow &row = m_session.plan().rows.at(places.constFirst());
    m_title->setText(Format::display(row.diff.relPath));
    const QString why = m_session.outcome() ? SyncLook::happening(row, true) : SyncLook::sentence(row.reason);
    m_facts->setText(why.isEmpty() ? SyncText::bucket(row.diff.bucket) : why);
}

qsizetype SyncRowBar::comparable() const
{
    const QList<qsizetype> places = m_rows.places(m_list.selectionModel()->selectedRows());
    if (places.size() != 1 || m_session.state() != SyncSession::State::review)
        return -1;
    const SyncRow &row = m_session.plan().rows.at(places.constFirst());
    return row.diff.local && row.diff.remote && !row.isFolder() ? places.constFirst() : -1;
}

void SyncRowBar::compare()
{
    const qsizetype place = comparable();
    if (place < 0)
        return;
    const SyncRow &row = m_session.plan().rows.at(place);
    if (std::max(row.diff.local->size, row.diff.remote->size) <= DiffLoader::maxBytes) {
        emit comparisonRequested(place);
        return;
    }
    m_compared = place;
    m_facts->setText(tr("Comparing…"));
    m_comparing = m_session.compare(
        place, [this](const ContentComparison &comparison) { m_facts->setText(comparisonText(comparison)); },
        [this](const Error &error) { m_facts->setText(tr("They could not be compared: %1").arg(error.message())); });
}

} // namespace moorix
