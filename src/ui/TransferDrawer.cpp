// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferDrawer.h"

#include "transfers/TransferEngine.h"
#include "ui/Theme.h"
#include "ui/TransferRowDelegate.h"
#include "ui/TransferRules.h"
#include "ui/TransferText.h"
#include "ui/Widgets.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

namespace {

constexpr int idRole = Qt::UserRole;
constexpr int isOpenRole = Qt::UserRole + 1;
constexpr int detailsRole = Qt::UserRole + 2;

/// What ten thousand failures had to say would hold up the window each time the list changes.
constexpr qsizetype mostLines = 500;

enum Column { titleColumn, standingColumn, endColumn };

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

/// Waiting ones have nothing to show yet, ended ones nothing more.
bool hasBar(const TransferStatus &transfer)
{
    return transfer.state == State::running ||
           ((transfer.state == State::paused || transfer.state == State::reconnecting) && transfer.filesTotal > 0);
}

} // namespace

TransferDrawer::TransferDrawer(TransferEngine &transfers, QWidget *parent)
    : QFrame(parent)
    , m_transfers(transfers)
    , m_list(new QTreeWidget(this))
    , m_head(new QHBoxLayout)
    , m_copy(new QAction(tr("Copy"), m_list))
    , m_empty(Widgets::label(tr("No transfers yet. F5 copies the selection to the other side."),
                             Widgets::TextRole::muted, this))
    , m_totals(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_clear(Widgets::button(tr("Clear ended"), QStringLiteral("clearTransfers"), this))
{
    setObjectName(QStringLiteral("transferDrawer"));
    m_totals->setObjectName(QStringLiteral("transferTotals"));
    m_list->setObjectName(QStringLiteral("transferList"));
    m_list->setAccessibleName(tr("Transfers"));
    setUpList();
    m_head->addWidget(Widgets::label(tr("TRANSFERS"), Widgets::TextRole::section, this));
    m_head->addWidget(m_totals, 1);
    addCommands(*m_head);
    m_head->addWidget(m_clear);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(12, 8, 12, 8);
    column->addLayout(m_head);
    column->addWidget(m_empty);
    column->addWidget(m_list, 1);

    m_list->setAllColumnsShowFocus(true);
    connect(&transfers, &TransferEngine::listChanged, this, &TransferDrawer::rebuild);
    connect(&transfers, &TransferEngine::transferChanged, this, &TransferDrawer::update);
    connect(m_list, &QWidget::customContextMenuRequested, this, &TransferDrawer::showMenu);
    connect(m_copy, &QAction::triggered, this, &TransferDrawer::copySelected);
    connect(m_list, &QTreeWidget::itemSelectionChanged, this, &TransferDrawer::updateButtons);
    connect(m_list, &QTreeWidget::itemActivated, this, [this](const QTreeWidgetItem *item) {
        emit targetRequested((item->parent() ? item->parent() : item)->data(0, idRole).toUuid());
    });
    connect(m_clear, &QPushButton::clicked, &transfers, &TransferEngine::clearEnded);
    rebuild();
}

void TransferDrawer::setUpList()
{
    m_list->setColumnCount(3);
    m_list->setHeaderHidden(true);
    m_list->setFrameShape(NoFrame);
    m_list->setTabKeyNavigation(false);
    m_list->setExpandsOnDoubleClick(false);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    auto *delegate = new TransferRowDelegate(m_list);
    m_list->setItemDelegateForColumn(standingColumn, delegate);
    m_list->setItemDelegateForColumn(endColumn, delegate);
    QHeaderView &header = *m_list->header();
    header.setMinimumSectionSize(0);
    header.setSectionResizeMode(titleColumn, QHeaderView::Stretch);
    // Bars that moved with the text behind them would say nothing.
    header.setSectionResizeMode(standingColumn, QHeaderView::Fixed);
    header.setSectionResizeMode(endColumn, QHeaderView::ResizeToContents);
    header.setStretchLastSection(false);
    m_copy->setShortcut(QKeySequence::Copy);
    m_copy->setShortcutContext(Qt::WidgetShortcut);
    m_list->addAction(m_copy);
}

void TransferDrawer::takeKeyboard()
{
    if (m_items.isEmpty())
        return;
    if (!m_list->currentItem())
        m_list->setCurrentItem(m_list->topLevelItem(0));
    m_list->setFocus();
}

void TransferDrawer::addTool(QWidget *tool)
{
    m_head->insertWidget(m_head->indexOf(m_totals) + 1, tool);
}

void TransferDrawer::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit keyboardReleased();
    else
        QFrame::keyPressEvent(event);
}

void TransferDrawer::resizeEvent(QResizeEvent *event)
{
    m_list->setColumnWidth(standingColumn, std::clamp(width() / 2, 300, 580));
    QFrame::resizeEvent(event);
}

void TransferDrawer::changeEvent(QEvent *event)
{
    QFrame::changeEvent(event);
    // The lines beneath the rows have their colours from the theme.
    if (event->type() == QEvent::StyleChange && !m_items.isEmpty())
        rebuild();
}

void TransferDrawer::addCommands(QHBoxLayout &row)
{
    using namespace TransferRules;
    addCommand(row, tr("Up"), QStringLiteral("moveTransferUp"), canMove, &TransferEngine::moveUp);
    addCommand(row, tr("Down"), QStringLiteral("moveTransferDown"), canMove, &TransferEngine::moveDown);
    addCommand(row, tr("Pause"), QStringLiteral("pauseTransfer"), canPause, &TransferEngine::pause);
    addCommand(row, tr("Resume"), QStringLiteral("resumeTransfer"), canResume, &TransferEngine::resume);
    addCommand(row, tr("Retry failed"), QStringLiteral("retryFailedTransfer"), canRetryFailed,
               &TransferEngine::retryFailed);
    addCommand(row, tr("Retry all"), QStringLiteral("retryTransfer"), canRetry, &TransferEngine::retryAll);
    addCommand(row, tr("Cancel"), QStringLiteral("cancelTransfer"), canCancel, &TransferEngine::cancel);
}

void TransferDrawer::addCommand(QHBoxLayout &row, const QString &text, const QString &objectName,
                                bool (*applies)(const TransferStatus &), void (TransferEngine::*action)(const QUuid &))
{
    const Command command{Widgets::button(text, objectName, this), text, applies, action};
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
    const TransferStatus *found = find(id);
    if (!found || !m_items.contains(id))
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
    const QString standing = TransferText::outcome(transfer);
    item.setIcon(titleColumn, stateIcon(transfer.state));
    const QString title = TransferText::title(transfer, m_transfers);
    item.setText(titleColumn, title);
    item.setToolTip(titleColumn, Widgets::toolTip(title + u'\n' + TransferText::ends(transfer.id, m_transfers)));
    item.setText(standingColumn, standing);
    item.setToolTip(standingColumn, Widgets::toolTip(standing));
    item.setData(standingColumn, TransferRowDelegate::permilleRole,
                 hasBar(transfer) ? TransferText::permille(transfer) : QVariant());
    item.setData(standingColumn, TransferRowDelegate::isHaltedRole, transfer.state != State::running);
    item.setData(endColumn, Qt::DisplayRole, transfer.ended ? QVariant(*transfer.ended) : QVariant());
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
    QStringList shown = all.first(std::min(all.size(), mostLines));
    if (all.size() > mostLines)
        shown += tr("… and %Ln more; copying the transfer takes all of them.", nullptr, int(all.size() - mostLines));
    for (const QString &text : std::as_const(shown)) {
        auto *line = new QTreeWidgetItem(&item, {text});
        line->setFirstColumnSpanned(true);
        const bool isRemark = item.childCount() <= remarks.size();
        line->setForeground(0, Theme::color(isRemark ? Theme::Color::mutedText : Theme::Color::danger));
        line->setToolTip(0, Widgets::toolTip(text));
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

const TransferStatus *TransferDrawer::find(const QUuid &id) const
{
    const auto found = std::ranges::find(m_transfers.transfers(), id, &TransferStatus::id);
    return found == m_transfers.transfers().end() ? nullptr : &*found;
}

bool TransferDrawer::isUseful(const Command &command) const
{
    return std::ranges::any_of(selectedTransfers(), [&](const QUuid &id) {
        const TransferStatus *transfer = find(id);
        return transfer && command.applies(*transfer);
    });
}

void TransferDrawer::run(const Command &command)
{
    const QList<QUuid> ids = selectedTransfers();
    for (const QUuid &id : ids) {
        if (const TransferStatus *transfer = find(id); transfer && command.applies(*transfer))
            (m_transfers.*command.run)(id);
    }
}

void TransferDrawer::showMenu(const QPoint &position)
{
    if (m_list->selectedItems().isEmpty())
        return;
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("transferMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const Command &command : m_commands) {
        if (isUseful(command))
            menu->addAction(command.text, this, [this, command] { run(command); });
    }
    menu->addSeparator();
    if (const QList<QUuid> ids = selectedTransfers(); ids.size() == 1)
        menu->addAction(tr("Show the target folder"), this, [this, id = ids.first()] { emit targetRequested(id); });
    menu->addAction(m_copy);
    menu->popup(m_list->viewport()->mapToGlobal(position));
}

/// A transfer with all that is said about it, or single lines of what is said.
void TransferDrawer::copySelected() const
{
    QStringList lines;
    for (int row = 0; row < m_list->topLevelItemCount(); ++row) {
        const QTreeWidgetItem *item = m_list->topLevelItem(row);
        if (item->isSelected()) {
            lines += QStringLiteral("%1 — %2").arg(item->text(titleColumn), item->text(standingColumn));
            lines += item->data(0, detailsRole).toStringList();
            continue;
        }
        for (int child = 0; child < item->childCount(); ++child) {
            if (item->child(child)->isSelected())
                lines += item->child(child)->text(titleColumn);
        }
    }
    if (!lines.isEmpty())
        QGuiApplication::clipboard()->setText(lines.join(u'\n'));
}

void TransferDrawer::updateButtons()
{
    const QList<TransferStatus> &all = m_transfers.transfers();
    m_empty->setVisible(all.isEmpty());
    m_list->setVisible(!all.isEmpty());
    m_clear->setEnabled(std::ranges::any_of(all, [](const auto &transfer) { return !isOpen(transfer.state); }));
    for (const Command &command : m_commands) {
        const bool useful = isUseful(command);
        command.button->setEnabled(useful);
        command.button->setVisible(useful || command.applies == TransferRules::canCancel);
    }
}

void TransferDrawer::updateTotals()
{
    m_totals->setText(TransferText::totals(m_transfers.totals()));
}

} // namespace moorix
