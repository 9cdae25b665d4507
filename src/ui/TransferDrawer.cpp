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

constexpr int idRole = Qt::UserRole;
constexpr int isOpenRole = Qt::UserRole + 1;
constexpr int detailsRole = Qt::UserRole + 2;

using State = TransferStatus::State;

QIcon stateIcon(State state)
{
    switch (state) {
    case State::running:
        return Theme::icon(QStringLiteral("media-playback-start"), Theme::Color::accent);
    case State::finished:
        return Theme::icon(QStringLiteral("dialog-ok-apply"), Theme::Color::success);
    case State::failed:
        return Theme::icon(QStringLiteral("data-warning"), Theme::Color::danger);
    case State::cancelled:
        return Theme::icon(QStringLiteral("dialog-cancel"), Theme::Color::mutedText);
    case State::paused:
    case State::interrupted:
        return Theme::icon(QStringLiteral("media-playback-pause"), Theme::Color::mutedText);
    case State::reconnecting:
    case State::waiting:
        break;
    }
    return Theme::icon(QStringLiteral("chronometer"), Theme::Color::mutedText);
}

bool canPause(const TransferStatus &transfer)
{
    return transfer.state == State::waiting || transfer.state == State::running ||
           transfer.state == State::reconnecting;
}

bool canResume(const TransferStatus &transfer)
{
    return transfer.state == State::paused || transfer.state == State::interrupted;
}

bool canCancel(const TransferStatus &transfer)
{
    return isOpen(transfer.state);
}

bool canRetryFailed(const TransferStatus &transfer)
{
    return !isOpen(transfer.state) && transfer.hasRemaining;
}

bool canRetry(const TransferStatus &transfer)
{
    return transfer.state == State::failed || transfer.state == State::cancelled;
}

bool canMove(const TransferStatus &transfer)
{
    return transfer.state == State::waiting || transfer.state == State::interrupted;
}

} // namespace

TransferDrawer::TransferDrawer(TransferEngine &transfers, QWidget *parent)
    : QFrame(parent)
    , m_transfers(transfers)
    , m_list(new QTreeWidget(this))
    , m_empty(Widgets::label(tr("No transfers yet. F5 copies the selection to the other side."),
                             Widgets::TextRole::muted, this))
    , m_totals(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_clear(Widgets::button(tr("Clear ended"), QStringLiteral("clearTransfers"), this))
{
    setObjectName(QStringLiteral("transferDrawer"));
    m_totals->setObjectName(QStringLiteral("transferTotals"));
    m_list->setObjectName(QStringLiteral("transferList"));
    m_list->setColumnCount(2);
    m_list->setHeaderHidden(true);
    m_list->setFrameShape(NoFrame);
    m_list->setTabKeyNavigation(false);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_list->header()->setStretchLastSection(false);
    auto *head = new QHBoxLayout;
    head->addWidget(Widgets::label(tr("TRANSFERS"), Widgets::TextRole::section, this));
    head->addWidget(m_totals, 1);
    addCommands(*head);
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
    rebuild();
}

void TransferDrawer::addCommands(QHBoxLayout &row)
{
    addCommand(row, tr("Up"), QStringLiteral("moveTransferUp"), canMove, &TransferEngine::moveUp);
    addCommand(row, tr("Down"), QStringLiteral("moveTransferDown"), canMove, &TransferEngine::moveDown);
    addCommand(row, tr("Pause"), QStringLiteral("pauseTransfer"), canPause, &TransferEngine::pause);
    addCommand(row, tr("Resume"), QStringLiteral("resumeTransfer"), canResume, &TransferEngine::resume);
    addCommand(row, tr("Retry failed"), QStringLiteral("retryFailedTransfer"), canRetryFailed,
               &TransferEngine::retryFailed);
    addCommand(row, tr("Retry all"), QStringLiteral("retryTransfer"), canRetry, &TransferEngine::retryAll);
    addCommand(row, tr("Cancel selected"), QStringLiteral("cancelTransfer"), canCancel, &TransferEngine::cancel);
}

void TransferDrawer::addCommand(QHBoxLayout &row, const QString &text, const QString &objectName,
                                bool (*applies)(const TransferStatus &), void (TransferEngine::*action)(const QUuid &))
{
    const Command command{Widgets::button(text, objectName, this), applies, action};
    row.addWidget(command.button);
    connect(command.button, &QPushButton::clicked, this, [this, command] { run(command); });
    m_commands.push_back(command);
}

void TransferDrawer::rebuild()
{
    const QList<QUuid> selected = selectedTransfers();
    m_list->clear();
    m_items.clear();
    int openCount = 0;
    for (const TransferStatus &transfer : m_transfers.transfers()) {
        auto *item = new QTreeWidgetItem;
        item->setData(0, idRole, transfer.id);
        item->setData(0, isOpenRole, isOpen(transfer.state));
        m_list->insertTopLevelItem(isOpen(transfer.state) ? openCount++ : openCount, item);
        m_items.insert(transfer.id, item);
        show(transfer, *item);
        item->setSelected(selected.contains(transfer.id));
    }
    updateButtons();
    updateTotals();
}

void TransferDrawer::update(const QUuid &id)
{
    const auto found = std::ranges::find(m_transfers.transfers(), id, &TransferStatus::id);
    if (found == m_transfers.transfers().end() || !m_items.contains(id))
        return;
    QTreeWidgetItem &item = *m_items.value(id);
    if (item.data(0, isOpenRole).toBool() != isOpen(found->state)) {
        rebuild();
        return;
    }
    show(*found, item);
    updateButtons();
    updateTotals();
}

void TransferDrawer::show(const TransferStatus &transfer, QTreeWidgetItem &item)
{
    item.setIcon(0, stateIcon(transfer.state));
    item.setText(0, transfer.title);
    item.setText(1, TransferText::outcome(transfer));
    item.setForeground(1, Theme::color(Theme::Color::mutedText));
    showDetails(transfer, item);
}

void TransferDrawer::showDetails(const TransferStatus &transfer, QTreeWidgetItem &item)
{
    QStringList remarks = transfer.notes;
    if (!transfer.waitingFor.isEmpty())
        remarks.prepend(transfer.waitingFor);
    const QStringList all = remarks + transfer.failures;
    if (item.data(0, detailsRole).toStringList() == all)
        return;
    item.setData(0, detailsRole, all);
    qDeleteAll(item.takeChildren());
    for (const QString &text : all) {
        auto *line = new QTreeWidgetItem(&item, {text});
        line->setFirstColumnSpanned(true);
        const bool isRemark = item.childCount() <= remarks.size();
        line->setForeground(0, Theme::color(isRemark ? Theme::Color::mutedText : Theme::Color::danger));
        line->setToolTip(0, text);
    }
    item.setExpanded(true);
}

QList<QUuid> TransferDrawer::selectedTransfers() const
{
    QList<QUuid> ids;
    const QList<QTreeWidgetItem *> selected = m_list->selectedItems();
    for (const QTreeWidgetItem *item : selected) {
        // A line beneath a transfer stands for it.
        const QUuid id = (item->parent() ? item->parent() : item)->data(0, idRole).toUuid();
        if (!ids.contains(id))
            ids.append(id);
    }
    return ids;
}

void TransferDrawer::run(const Command &command)
{
    const QList<QUuid> ids = selectedTransfers();
    for (const QUuid &id : ids) {
        const auto found = std::ranges::find(m_transfers.transfers(), id, &TransferStatus::id);
        if (found != m_transfers.transfers().end() && command.applies(*found))
            (m_transfers.*command.run)(id);
    }
}

void TransferDrawer::updateButtons()
{
    const QList<TransferStatus> &all = m_transfers.transfers();
    m_empty->setVisible(all.isEmpty());
    m_list->setVisible(!all.isEmpty());
    m_clear->setEnabled(std::ranges::any_of(all, [](const auto &transfer) { return !isOpen(transfer.state); }));
    const QList<QUuid> selected = selectedTransfers();
    for (const Command &command : m_commands) {
        const bool isUseful = std::ranges::any_of(all, [&](const TransferStatus &transfer) {
            return selected.contains(transfer.id) && command.applies(transfer);
        });
        command.button->setEnabled(isUseful);
        command.button->setVisible(isUseful || command.applies == canCancel);
    }
}

void TransferDrawer::updateTotals()
{
    m_totals->setText(TransferText::totals(m_transfers.totals()));
}

} // namespace moorix
