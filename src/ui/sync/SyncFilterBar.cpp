// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncFilterBar.h"

#include "ui/FlowLayout.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/sync/SyncRowsModel.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QToolButton>

namespace moorix {

SyncFilterBar::SyncFilterBar(SyncSession &session, SyncRowsModel &rows, QWidget *parent)
    : QFrame(parent)
    , m_session(session)
    , m_rows(rows)
    , m_chips(new FlowLayout(6))
    , m_group(new QButtonGroup(this))
    , m_search(new QLineEdit(this))
    , m_tree(
          Widgets::iconButton(QStringLiteral("view-list-tree"), tr("Show as a tree"), QStringLiteral("syncTree"), this))
{
    setProperty("role", QStringLiteral("bar"));
    m_search->setObjectName(QStringLiteral("syncSearch"));
    m_search->setPlaceholderText(tr("Show paths containing…"));
    m_search->setAccessibleName(tr("Search paths"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(Theme::icon(QStringLiteral("search"), Theme::Color::mutedText), QLineEdit::LeadingPosition);
    m_search->installEventFilter(this);
    m_tree->setCheckable(true);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(8);
    row->addLayout(m_chips, 1);
    row->addWidget(m_search, 0, Qt::AlignTop);
    row->addWidget(m_tree, 0, Qt::AlignTop);
    connect(m_search, &QLineEdit::textChanged, &rows, &SyncRowsModel::search);
    connect(m_tree, &QToolButton::toggled, this,
            [this](bool isTree) { m_rows.setForm(isTree ? SyncRowsModel::Form::tree : SyncRowsModel::Form::list); });
    addChips();
}

void SyncFilterBar::focusSearch()
{
    m_search->setFocus(Qt::ShortcutFocusReason);
    m_search->selectAll();
}

void SyncFilterBar::refill()
{
    while (QLayoutItem *item = m_chips->takeAt(0)) {
        // Later: a click on one of them may have led here.
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    addChips();
}

void SyncFilterBar::addChips()
{
    const QList<SyncFilter> filters = SyncFilter::of(m_session);
    QPushButton *first = nullptr;
    QPushButton *chosen = nullptr;
    for (const SyncFilter &filter : filters) {
        auto *chip = Widgets::button(tr("%1  %2").arg(filter.label, QLocale().toString(filter.count)),
                                     QStringLiteral("syncChip-") + filter.id, this);
        chip->setProperty("role", QStringLiteral("chip"));
        const bool isPressing = filter.id == QLatin1StringView("conflict") || filter.id == QLatin1StringView("failed");
        chip->setProperty("tone", isPressing ? QStringLiteral("warning") : QString());
        chip->setCheckable(true);
        m_group->addButton(chip);
        m_chips->addWidget(chip);
        chip->show();
        connect(chip, &QPushButton::clicked, this, [this, filter] {
            m_chosen = filter.id;
            m_rows.show(filter);
        });
        first = first ? first : chip;
        chosen = filter.id == m_chosen ? chip : chosen;
    }
    if (!chosen)
        m_chosen = filters.constFirst().id;
    (chosen ? chosen : first)->setChecked(true);
    const auto shown = std::find_if(filters.cbegin(), filters.cend(),
                                    [this](const SyncFilter &filter) { return filter.id == m_chosen; });
    m_rows.show(*shown);
}

/// The chips need the room more.
void SyncFilterBar::resizeEvent(QResizeEvent *event)
{
    constexpr int narrow = 700;
    m_search->setFixedWidth(width() < narrow ? 140 : 220);
    QFrame::resizeEvent(event);
}

bool SyncFilterBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_search || event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    switch (static_cast<QKeyEvent *>(event)->key()) {
    case Qt::Key_Escape:
        m_search->clear();
        [[fallthrough]];
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
        emit listFocusRequested();
        return true;
    default:
        return QFrame::eventFilter(watched, event);
    }
}

} // namespace moorix
