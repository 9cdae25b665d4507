// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FilterBar.h"

#include "files/PaneModel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace moorix {

FilterBar::FilterBar(PaneModel &pane, QWidget *parent)
    : QFrame(parent)
    , m_pane(pane)
    , m_edit(new QLineEdit(this))
    , m_count(Widgets::label({}, Widgets::TextRole::muted, this))
{
    setProperty("role", u"bar"_s);
    m_edit->setObjectName(u"filterEdit"_s);
    m_edit->setPlaceholderText(tr("Show names containing…"));
    m_edit->setAccessibleName(tr("Filter by name"));
    m_edit->addAction(Theme::icon(u"view-filter"_s, Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_edit->installEventFilter(this);
    m_count->setWordWrap(false);
    auto *closeButton = Widgets::iconButton(u"window-close"_s, tr("Close the filter"), u"filterClose"_s, this);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(8);
    row->addWidget(m_edit, 1);
    row->addWidget(m_count);
    row->addWidget(closeButton);
    hide();

    connect(m_edit, &QLineEdit::textChanged, &m_pane, &PaneModel::setSearchQuery);
    connect(closeButton, &QToolButton::clicked, this, &FilterBar::close);
    connect(&pane, &PaneModel::displayedChanged, this, &FilterBar::showCount);
    connect(&pane, &PaneModel::searchQueryChanged, this, [this] {
        if (m_edit->text() != m_pane.searchQuery())
            m_edit->setText(m_pane.searchQuery());
    });
}

void FilterBar::open()
{
    showCount();
    show();
    m_edit->setFocus(Qt::ShortcutFocusReason);
    m_edit->selectAll();
}

void FilterBar::close()
{
    m_edit->clear();
    hide();
    emit left();
}

void FilterBar::showCount()
{
    m_count->setText(m_pane.searchQuery().isEmpty() ? QString() : tr("%L1 found").arg(m_pane.displayedCount()));
}

bool FilterBar::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    switch (static_cast<QKeyEvent *>(event)->key()) {
    case Qt::Key_Escape:
        close();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
        emit left();
        return true;
    default:
        return QFrame::eventFilter(watched, event);
    }
}

} // namespace moorix
