// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/FileListHeader.h"

#include "settings/SettingsStore.h"
#include "ui/Theme.h"
#include "ui/pane/FileListModel.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QSignalBlocker>

#include <chrono>

using namespace std::chrono_literals;

namespace moorix {

namespace {

std::optional<FileSortKey> keyOf(int column)
{
    switch (column) {
    case FileListModel::name:
        return FileSortKey::name;
    case FileListModel::size:
        return FileSortKey::size;
    case FileListModel::modified:
        return FileSortKey::date;
    default:
        return std::nullopt;
    }
}

QString textOf(FileSortKey key)
{
    switch (key) {
    case FileSortKey::name:
        return FileListHeader::tr("Sort by name");
    case FileSortKey::size:
        return FileListHeader::tr("Sort by size");
    case FileSortKey::date:
        return FileListHeader::tr("Sort by date");
    case FileSortKey::kind:
        break;
    }
    return FileListHeader::tr("Sort by kind");
}

} // namespace

FileListHeader::FileListHeader(PaneModel &pane, SettingsStore &settings, QWidget *parent)
    : QHeaderView(Qt::Horizontal, parent)
    , m_pane(pane)
    , m_settings(settings)
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
    connect(&settings, &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_settings.sizeColumnWidth.key() || key == m_settings.dateColumnWidth.key())
            showWidths();
    });
}

void FileListHeader::arrange()
{
    // A tree view that does not sort by itself switches both off when it takes a header.
    setSectionsClickable(true);
    setSortIndicatorShown(true);
    setSectionResizeMode(QHeaderView::Interactive);
    setSectionResizeMode(FileListModel::name, QHeaderView::Stretch);
    hideSection(FileListModel::permissions);
    hideSection(FileListModel::owner);
    resizeSection(FileListModel::permissions, 100);
    resizeSection(FileListModel::owner, 90);
    showWidths();
    showOrder();
    connect(this, &QHeaderView::sectionResized, this, [this](int column) {
        if (column == FileListModel::size || column == FileListModel::modified)
            m_widthTimer.start();
    });
}

void FileListHeader::showWidths()
{
    const QSignalBlocker blocker(&m_widthTimer);
    resizeSection(FileListModel::size, qRound(m_settings.sizeColumnWidth.value()));
    resizeSection(FileListModel::modified, qRound(m_settings.dateColumnWidth.value()));
    m_widthTimer.stop();
}

void FileListHeader::takeWidths()
{
    m_settings.sizeColumnWidth.set(sectionSize(FileListModel::size));
    m_settings.dateColumnWidth.set(sectionSize(FileListModel::modified));
}

void FileListHeader::sortByColumn(int column)
{
    const std::optional<FileSortKey> key = keyOf(column);
    if (!key) {
        showOrder();
        return;
    }
    if (m_pane.sortKey() == *key) {
        m_pane.setSortAscending(!m_pane.sortAscending());
    } else {
        m_pane.setSortKey(*key);
        m_pane.setSortAscending(true);
    }
    m_settings.sortKeyRaw.set(rawText(m_pane.sortKey()));
    m_settings.sortAscending.set(m_pane.sortAscending());
}

void FileListHeader::showOrder()
{
    for (const int column : {FileListModel::name, FileListModel::size, FileListModel::modified}) {
        if (keyOf(column) == m_pane.sortKey()) {
            setSortIndicator(column, m_pane.sortAscending() ? Qt::AscendingOrder : Qt::DescendingOrder);
            return;
        }
    }
    setSortIndicator(-1, Qt::AscendingOrder);
}

void FileListHeader::paintSection(QPainter *painter, const QRect &rect, int column) const
{
    constexpr int padding = 10;
    constexpr int arrowRoom = 14;
    const bool isHovered = rect.contains(mapFromGlobal(QCursor::pos())) && underMouse();
    painter->fillRect(rect, Theme::color(isHovered ? Theme::Color::currentRow : Theme::Color::base));
    painter->fillRect(QRect(rect.bottomLeft(), QSize(rect.width(), 1)), Theme::color(Theme::Color::border));
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    painter->setFont(bold);
    painter->setPen(Theme::color(Theme::Color::mutedText));
    const QRect room = rect.adjusted(padding, 0, -padding, 0);
    const QString text = model()->headerData(column, orientation()).toString();
    const bool isRight = column == FileListModel::size;
    painter->drawText(room, Qt::AlignVCenter | (isRight ? Qt::AlignRight : Qt::AlignLeft), text);
    if (column != sortIndicatorSection())
        return;
    const int textWidth = QFontMetrics(bold).horizontalAdvance(text);
    const qreal x =
        isRight ? room.right() - textWidth - arrowRoom / 2.0 : room.left() + textWidth + arrowRoom / 2.0 + 2;
    const qreal y = room.center().y() + 1;
    const qreal up = sortIndicatorOrder() == Qt::AscendingOrder ? -1 : 1;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(Theme::color(Theme::Color::accent), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPolyline(QPolygonF{{x - 3.5, y - 1.75 * up}, {x, y + 1.75 * up}, {x + 3.5, y - 1.75 * up}});
}

void FileListHeader::contextMenuEvent(QContextMenuEvent *event)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    auto *keys = new QActionGroup(menu);
    for (const FileSortKey key : allFileSortKeys) {
        QAction *action = menu->addAction(textOf(key));
        action->setCheckable(true);
        action->setChecked(m_pane.sortKey() == key);
        keys->addAction(action);
        connect(action, &QAction::triggered, this, [this, key] {
            m_pane.setSortKey(key);
            m_settings.sortKeyRaw.set(rawText(key));
        });
    }
    menu->addSeparator();
    for (const int column :
         {FileListModel::size, FileListModel::modified, FileListModel::permissions, FileListModel::owner}) {
        QAction *action = menu->addAction(model()->headerData(column, Qt::Horizontal).toString());
        action->setCheckable(true);
        action->setChecked(!isSectionHidden(column));
        connect(action, &QAction::toggled, this, [this, column](bool isShown) { setSectionHidden(column, !isShown); });
    }
    menu->popup(event->globalPos());
}

} // namespace moorix
