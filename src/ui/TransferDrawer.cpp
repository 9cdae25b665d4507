// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferDrawer.h"

#include "transfers/TransferEngine.h"
#include "ui/Theme.h"
#include "ui/TransferText.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

namespace {

QIcon stateIcon(TransferStatus::State state)
{
    switch (state) {
    case TransferStatus::State::running:
        return Theme::icon(QStringLiteral("media-playback-start"), Theme::Color::accent);
    case TransferStatus::State::finished:
        return Theme::icon(QStringLiteral("dialog-ok-apply"), Theme::Color::success);
    case TransferStatus::State::failed:
        return Theme::icon(QStringLiteral("data-warning"), Theme::Color::danger);
    case TransferStatus::State::cancelled:
        return Theme::icon(QStringLiteral("dialog-cancel"), Theme::Color::mutedText);
    case TransferStatus::State::waiting:
        break;
    }
    return Theme::icon(QStringLiteral("chronometer"), Theme::Color::mutedText);
}

bool isOpen(TransferStatus::State state)
{
    return state == TransferStatus::State::waiting || state == TransferStatus::State::running;
}

} // namespace

TransferDrawer::TransferDrawer(TransferEngine &transfers, QWidget *parent)
    : QFrame(parent)
    , m_transfers(transfers)
    , m_list(new QTreeWidget(this))
    , m_empty(Widgets::label(tr("No transfers yet. F5 copies the selection to the other side."),
                             Widgets::TextRole::muted, this))
    , m_cancel(Widgets::button(tr("Cancel selected"), QStringLiteral("cancelTransfer"), this))
    , m_clear(Widgets::button(tr("Clear ended"), QStringLiteral("clearTransfers"), this))
{
    setObjectName(QStringLiteral("transferDrawer"));
    m_list->setObjectName(QStringLiteral("transferList"));
    m_list->setColumnCount(2);
    m_list->setHeaderHidden(true);
    m_list->setFrameShape(NoFrame);
    m_list->setTabKeyNavigation(false);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_list->header()->setStretchLastSection(false);
    auto *head = new QHBoxLayout;
    head->addWidget(Widgets::label(tr("TRANSFERS"), Widgets::TextRole::section, this), 1);
    head->addWidget(m_cancel);
    head->addWidget(m_clear);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(12, 8, 12, 8);
    column->addLayout(head);
    column->addWidget(m_empty);
    column->addWidget(m_list, 1);

    connect(&transfers, &TransferEngine::listChanged, this, &TransferDrawer::rebuild);
    connect(&transfers, &TransferEngine::transferChanged, this, &TransferDrawer::update);
    connect(m_list, &QTreeWidget::itemSelectionChanged, this, &TransferDrawer::updateButtons);
    connect(m_clear, &QPushButton::clicked, &transfers, &TransferEngine::clearEnded);
    connect(m_cancel, &QPushButton::clicked, this, &TransferDrawer::cancelSelected);
    rebuild();
}

void TransferDrawer::rebuild()
{
    m_list->clear();
    m_items.clear();
    for (const TransferStatus &transfer : m_transfers.transfers()) {
        auto *item = new QTreeWidgetItem;
        item->setData(0, Qt::UserRole, transfer.id);
        m_list->insertTopLevelItem(0, item);
        m_items.insert(transfer.id, item);
        show(transfer, *item);
    }
    updateButtons();
}

void TransferDrawer::update(const QUuid &id)
{
    const auto found = std::ranges::find(m_transfers.transfers(), id, &TransferStatus::id);
    if (found != m_transfers.transfers().end() && m_items.contains(id))
        show(*found, *m_items.value(id));
    updateButtons();
}

void TransferDrawer::show(const TransferStatus &transfer, QTreeWidgetItem &item)
{
    item.setIcon(0, stateIcon(transfer.state));
    item.setText(0, transfer.title);
    item.setText(1, TransferText::outcome(transfer));
    item.setForeground(1, Theme::color(Theme::Color::mutedText));
    for (qsizetype index = item.childCount(); index < transfer.failures.size(); ++index) {
        auto *failure = new QTreeWidgetItem(&item, {transfer.failures.at(index)});
        failure->setFirstColumnSpanned(true);
        failure->setForeground(0, Theme::color(Theme::Color::danger));
        failure->setToolTip(0, transfer.failures.at(index));
        item.setExpanded(true);
    }
}

void TransferDrawer::cancelSelected()
{
    const QList<QTreeWidgetItem *> selected = m_list->selectedItems();
    for (const QTreeWidgetItem *item : selected)
        m_transfers.cancel(item->data(0, Qt::UserRole).toUuid());
}

void TransferDrawer::updateButtons()
{
    const QList<TransferStatus> &all = m_transfers.transfers();
    m_empty->setVisible(all.isEmpty());
    m_list->setVisible(!all.isEmpty());
    m_clear->setEnabled(std::ranges::any_of(all, [](const auto &transfer) { return !isOpen(transfer.state); }));
    const QList<QTreeWidgetItem *> selected = m_list->selectedItems();
    m_cancel->setEnabled(std::ranges::any_of(all, [&](const TransferStatus &transfer) {
        return isOpen(transfer.state) && selected.contains(m_items.value(transfer.id));
    }));
}

} // namespace moorix
