// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncPage.h"

#include "app/Comparison.h"
#include "base/Json.h"
#include "sync/SyncSession.h"
#include "sync/SyncText.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncEndView.h"
#include "ui/sync/SyncFilterBar.h"
#include "ui/sync/SyncFooter.h"
#include "ui/sync/SyncHeader.h"
#include "ui/sync/SyncHistoryView.h"
#include "ui/sync/SyncListView.h"
#include "ui/sync/SyncPairEditor.h"
#include "ui/sync/SyncProgressView.h"
#include "ui/sync/SyncQuestions.h"
#include "ui/sync/SyncRowBar.h"
#include "ui/sync/SyncRowsModel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

namespace moorix {

using State = SyncSession::State;

SyncPage::SyncPage(SyncEngine &engine, SyncSession &session, QWidget *parent)
    : QWidget(parent)
    , m_session(session)
    , m_header(new SyncHeader(engine, session, this))
    , m_editor(new SyncPairEditor(engine, session, this))
    , m_questions(new SyncQuestions(session, this))
    , m_progress(new SyncProgressView(session, this))
    , m_end(new SyncEndView(session, this))
    , m_rows(new SyncRowsModel(session, this))
    , m_filter(new SyncFilterBar(session, *m_rows, this))
    , m_list(new SyncListView(session, *m_rows, this))
    , m_empty(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_history(new SyncHistoryView(session, this))
    , m_rowBar(new SyncRowBar(session, *m_rows, *m_list, this))
    , m_footer(new SyncFooter(session, this))
{
    setObjectName(QStringLiteral("syncPage"));
    setAttribute(Qt::WA_StyledBackground);
    m_empty->setObjectName(QStringLiteral("syncEmpty"));
    m_empty->setAlignment(Qt::AlignCenter);
    m_history->hide();
    layOut();
    connectParts();
    follow();
}

SyncPage::~SyncPage()
{
    // Parts that go, and the focus that leaves them, still send signals.
    m_session.disconnect(this);
    m_rows->disconnect(this);
}

void SyncPage::layOut()
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (QWidget *part : std::initializer_list<QWidget *>{m_header, m_editor, m_questions, m_progress, m_end, m_filter})
        column->addWidget(part);
    for (QWidget *part : std::initializer_list<QWidget *>{m_list, m_empty, m_history})
        column->addWidget(part, 1);
    column->addWidget(m_rowBar);
    column->addWidget(m_footer);
}

void SyncPage::connectParts()
{
    connect(&m_session, &SyncSession::stateChanged, this, &SyncPage::follow);
    connect(m_rows, &QAbstractItemModel::modelReset, this, &SyncPage::arrange);
    connect(m_header, &SyncHeader::backRequested, this, &SyncPage::backRequested);
    connect(m_header, &SyncHeader::messageRaised, this, &SyncPage::messageRaised);
    connect(m_questions, &SyncQuestions::cancelled, this, &SyncPage::backRequested);
    connect(m_questions, &SyncQuestions::answered, this, &SyncPage::focusContent);
    connect(m_filter, &SyncFilterBar::listFocusRequested, this, [this] {
        m_list->ensureCurrent();
        m_list->setFocus();
    });
    connect(m_list, &SyncListView::comparisonWanted, m_rowBar, &SyncRowBar::compare);
    connect(m_rowBar, &SyncRowBar::comparisonRequested, this, &SyncPage::compare);
    connect(m_editor, &SyncPairEditor::closed, this, [this] { m_header->settingsButton().setChecked(false); });
    connect(&m_header->settingsButton(), &QToolButton::toggled, this, [this](bool isOn) {
        if (isOn) {
            m_editor->open();
            return;
        }
        m_editor->hide();
        focusContent();
    });
    connect(&m_header->historyButton(), &QToolButton::toggled, this, [this](bool isOn) {
        arrange();
        m_history->refill();
        if (isOn)
            m_history->setFocus();
        else
            focusContent();
    });
    auto *apply = new QShortcut(Qt::CTRL | Qt::Key_Return, this);
    apply->setContext(Qt::WidgetWithChildrenShortcut);
    connect(apply, &QShortcut::activated, &m_session, &SyncSession::apply);
}

void SyncPage::follow()
{
    const bool hadKeyboard = hasKeyboard();
    m_questions->refill();
    m_filter->refill();
    arrange();
    if (hadKeyboard && isVisible())
        focusContent();
}

bool SyncPage::hasKeyboard() const
{
    const QWidget *focus = QApplication::focusWidget();
    return !focus || focus == this || isAncestorOf(focus);
}

void SyncPage::arrange()
{
    const bool hadKeyboard = hasKeyboard();
    const State state = m_session.state();
    const bool hasRows = m_session.hasPlan() || m_session.outcome();
    const bool showsHistory = m_header->historyButton().isChecked();
    m_progress->setVisible(m_session.isBusy());
    m_end->setVisible(state == State::done || state == State::failed || state == State::cancelled);
    m_filter->setVisible(hasRows && !showsHistory);
    m_history->setVisible(showsHistory);
    m_list->setVisible(hasRows && !showsHistory && m_rows->rowCount() > 0);
    m_empty->setVisible(!showsHistory && !m_list->isVisibleTo(this));
    m_footer->setVisible(m_footer->isUseful() && !showsHistory);
    m_rowBar->setMaximumHeight(showsHistory || !m_list->isVisibleTo(this) ? 0 : QWIDGETSIZE_MAX);
    showEmptiness();
    // What is hidden gives it to anything, also outside.
    if (hadKeyboard && !hasKeyboard() && isVisible())
        focusContent();
}

void SyncPage::showEmptiness()
{
    const State state = m_session.state();
    const bool isAlike =
        state == State::review && m_session.plan().changeCount() == 0 && m_session.plan().openConflictCount() == 0;
    if (!m_session.hasPlan() && !m_session.outcome())
        m_empty->clear();
    else if (!m_rows->searchText().isEmpty())
        m_empty->setText(tr("No path of this kind holds “%1”.").arg(m_rows->searchText()));
    else
        m_empty->setText(isAlike && SyncFilter::of(m_session).constFirst().count == 0
                             ? tr("Both sides are alike.\nThere is nothing to sync.")
                             : tr("No row is of this kind."));
}

void SyncPage::focusContent()
{
    const State state = m_session.state();
    if (m_session.isBusy())
        m_progress->setFocus();
    else if (m_questions->focusFirst())
        return;
    else if (state == State::review && m_list->isVisibleTo(this)) {
        m_list->ensureCurrent();
        m_list->setFocus();
    } else if (state == State::review) {
        if (m_footer->isVisibleTo(this))
            m_footer->setFocus();
        else
            setFocus();
    } else if (state == State::idle) {
        setFocus();
    } else {
        m_end->setFocus();
    }
}

void SyncPage::focusSearch()
{
    if (m_filter->isVisible())
        m_filter->focusSearch();
}

void SyncPage::showSettings()
{
    m_header->settingsButton().setChecked(true);
}

void SyncPage::closeExtras()
{
    m_header->settingsButton().setChecked(false);
    m_header->historyButton().setChecked(false);
}

void SyncPage::compare(qsizetype row)
{
    if (const auto files = m_session.filesOf(row)) {
        const auto &[local, remote] = *files;
        emit comparisonRequested({{newUuid(), local.item, remote.item, local.service, remote.service},
                                  {},
                                  m_session.server().displayName(),
                                  {},
                                  m_session.server().id});
    }
}

void SyncPage::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (m_header->settingsButton().isChecked() || m_header->historyButton().isChecked())
        closeExtras();
    else
        emit backRequested();
}

} // namespace moorix
