// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileListHeader.h"

#include "app/ListColumns.h"
#include "files/PaneModel.h"
#include "settings/SettingsStore.h"
#include "ui/Theme.h"
#include "ui/pane/FileListModel.h"
#include "ui/pane/ListOrder.h"

#include <QContextMenuEvent>
#include <QMenu>

#include <algorithm>
#include <array>
#include <chrono>

using namespace std::chrono_literals;

namespace moorix {

namespace {

std::optional<PaneCommand> commandOf(int column)
{
    switch (column) {
    case FileListModel::name:
        return PaneCommand::sortByName;
    case FileListModel::size:
        return PaneCommand::sortBySize;
    case FileListModel::modified:
        return PaneCommand::sortByDate;
    default:
        return std::nullopt;
    }
}

int sectionOf(ListColumns::Column column)
{
    switch (column) {
    case ListColumns::Column::size:
        return FileListModel::size;
    case ListColumns::Column::modified:
        return FileListModel::modified;
    case ListColumns::Column::permissions:
        return FileListModel::permissions;
    case ListColumns::Column::owner:
        break;
    }
    return FileListModel::owner;
}

/// How narrow a column may become before it is better hidden.
int leastWidth(ListColumns::Column column)
{
    return column == ListColumns::Column::modified ? 130 : 80;
}

/// The widths at which the columns leave the names enough of `room`; a column without one is hidden.
QMap<ListColumns::Column, int> fittingWidths(const ListColumns &columns, int room)
{
    constexpr int leastNameWidth = 150;
    // The first to give way.
    constexpr std::array dispensable{ListColumns::Column::owner, ListColumns::Column::permissions,
                                     ListColumns::Column::modified, ListColumns::Column::size};
    QMap<ListColumns::Column, int> widths;
    int missing = leastNameWidth - room;
    for (const ListColumns::Column column : dispensable) {
        if (!columns.isShown(column))
            continue;
        widths[column] = columns.width(column);
        missing += widths[column];
    }
    for (const ListColumns::Column column : dispensable) {
        if (!widths.contains(column) || missing <= 0)
            continue;
        const int spared = std::clamp(widths[column] - leastWidth(column), 0, missing);
        widths[column] -= spared;
        missing -= spared;
    }
    for (const ListColumns::Column column : dispensable) {
        if (missing > 0)
            missing -= widths.take(column);
    }
    return widths;
}

} // namespace

FileListHeader::FileListHeader(PaneModel &pane, SettingsStore &settings, ListColumns &columns, QWidget *parent)
    : SortHeader(10, parent)
    , m_pane(pane)
    , m_settings(settings)
    , m_columns(columns)
{
    setObjectName(QStringLiteral("fileListHeader"));
    setHighlightSections(false);
    setStretchLastSection(false);
    setMinimumSectionSize(40);
    // A drag changes the width with every pixel; only where it ends is worth a write.
    m_widthTimer.setSingleShot(true);
    m_widthTimer.setInterval(300ms);
    connect(&m_widthTimer, &QTimer::timeout, this, &FileListHeader::takeWidths);
    connect(this, &QHeaderView::sectionClicked, this, &FileListHeader::sortByColumn);
    connect(&pane, &PaneModel::orderChanged, this, &FileListHeader::showOrder);
    connect(&columns, &ListColumns::changed, this, &FileListHeader::showColumns);
}

void FileListHeader::arrange()
{
    // A tree view that does not sort by itself switches both off when it takes a header.
    setSectionsClickable(true);
    setSortIndicatorShown(true);
    setSectionResizeMode(QHeaderView::Interactive);
    setSectionResizeMode(FileListModel::name, QHeaderView::Stretch);
    showColumns();
    showOrder();
    connect(this, &QHeaderView::sectionResized, this, [this](int section, int /*oldSize*/, int size) {
        if (section == FileListModel::name || size == m_arranged.value(section))
            return;
        m_dragged.insert(section);
        m_widthTimer.start();
    });
}

QWidget *FileListHeader::makeCorner(QWidget *parent)
{
    auto *corner = new QWidget(parent);
    corner->setObjectName(QStringLiteral("fileListCorner"));
    corner->setAttribute(Qt::WA_StyledBackground);
    corner->setFixedHeight(sizeHint().height());
    connect(this, &QHeaderView::geometriesChanged, corner, [this, corner] { corner->setFixedHeight(height()); });
    return corner;
}

void FileListHeader::showColumns()
{
    // Whoever has just dragged a column wide wants it so, whatever it leaves the names.
    resizeColumns(fittingWidths(m_columns, QWIDGETSIZE_MAX));
}

void FileListHeader::resizeColumns(const QMap<ListColumns::Column, int> &widths)
{
    // A width that is being dragged is newer than the one stored.
    if (m_widthTimer.isActive())
        return;
    m_arranged.clear();
    for (const ListColumns::Column column : ListColumns::all)
        m_arranged.insert(sectionOf(column), widths.value(column));
    for (const ListColumns::Column column : ListColumns::all) {
        setSectionHidden(sectionOf(column), !widths.contains(column));
        if (widths.contains(column))
            resizeSection(sectionOf(column), widths.value(column));
    }
    m_dragged.clear();
    m_widthTimer.stop();
}

void FileListHeader::resizeEvent(QResizeEvent *event)
{
    QHeaderView::resizeEvent(event);
    resizeColumns(fittingWidths(m_columns, width()));
}

void FileListHeader::takeWidths()
{
    for (const ListColumns::Column column : ListColumns::all) {
        if (m_dragged.contains(sectionOf(column)) && !isSectionHidden(sectionOf(column)))
            m_columns.setWidth(column, sectionSize(sectionOf(column)));
    }
}

void FileListHeader::sortByColumn(int column)
{
    if (const std::optional<PaneCommand> command = commandOf(column))
        ListOrder::run(*command, m_pane, m_settings);
    // The header has set the indicator already, also where nothing can be ordered by the column.
    showOrder();
}

void FileListHeader::showOrder()
{
    for (const int column : {FileListModel::name, FileListModel::size, FileListModel::modified}) {
        if (ListOrder::isInForce(*commandOf(column), m_pane)) {
            setSortIndicator(column, m_pane.sortAscending() ? Qt::AscendingOrder : Qt::DescendingOrder);
            return;
        }
    }
    setSortIndicator(-1, Qt::AscendingOrder);
}

void FileListHeader::contextMenuEvent(QContextMenuEvent *event)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("headerMenu"));
    for (const PaneCommand command : ListOrder::commands) {
        if (command == PaneCommand::sortAscending)
            menu->addSeparator();
        QAction *action = menu->addAction(infoOf(command).text);
        action->setCheckable(true);
        action->setChecked(ListOrder::isInForce(command, m_pane));
        connect(action, &QAction::triggered, this, [this, command] { ListOrder::run(command, m_pane, m_settings); });
    }
    menu->addSeparator();
    for (const ListColumns::Column column : ListColumns::all) {
        QAction *action = menu->addAction(model()->headerData(sectionOf(column), Qt::Horizontal).toString());
        action->setCheckable(true);
        action->setChecked(m_columns.isShown(column));
        connect(action, &QAction::toggled, this, [this, column](bool isShown) { m_columns.setShown(column, isShown); });
    }
    menu->popup(event->globalPos());
}

} // namespace moorix
