// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/servers/ServerLibraryView.h"

#include "app/AppModel.h"
#include "app/ServerConnections.h"
#include "servers/ServerStore.h"
#include "ui/MessageBar.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"
#include "ui/servers/ServerTreeModel.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

ServerLibraryView::ServerLibraryView(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_tree(new ServerTreeModel(
          model.servers(), [&model](const QUuid &id) { return model.connections().isConnected(id); }, this))
    , m_view(new QTreeView(this))
    , m_search(new QLineEdit(this))
    , m_bar(new MessageBar(this))
{
    setObjectName(QStringLiteral("serverLibrary"));
    makeTree();
    auto *listAndEmpty = new QWidget(this);
    m_stack = new QStackedLayout(listAndEmpty);
    m_stack->addWidget(m_view);
    m_stack->addWidget(makeEmptyState());
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_bar);
    column->addWidget(listAndEmpty, 1);
    restoreAfterReset();

    connect(m_tree, &QAbstractItemModel::modelAboutToBeReset, this, &ServerLibraryView::rememberExpansion);
    connect(m_tree, &QAbstractItemModel::modelReset, this, &ServerLibraryView::restoreAfterReset);
    connect(&model.connections(), &ServerConnections::connectionsChanged, m_tree, &ServerTreeModel::refreshConnections);
    const auto tellProblem = [this] {
        if (!m_model.servers().problem().isEmpty())
            m_bar->tell(m_model.servers().problem(), MessageBar::Tone::danger);
    };
    connect(&model.servers(), &ServerStore::problemChanged, this, tellProblem);
    tellProblem();
}

ServerLibraryView::~ServerLibraryView() = default;

void ServerLibraryView::focusList()
{
    m_view->setFocus();
}

bool ServerLibraryView::isAvailable(PaneCommand command) const
{
    switch (command) {
    case PaneCommand::filter:
    case PaneCommand::newFolder:
        return true;
    case PaneCommand::open:
    case PaneCommand::openInNewTab:
    case PaneCommand::rename:
    case PaneCommand::remove:
    case PaneCommand::removeForGood:
    case PaneCommand::info:
        return m_view->currentIndex().isValid();
    default:
        return false;
    }
}

void ServerLibraryView::run(PaneCommand command)
{
    if (!isAvailable(command))
        return;
    const QModelIndex current = m_view->currentIndex().siblingAtColumn(0);
    const QUuid id = m_tree->id(current);
    if (command == PaneCommand::filter)
        m_search->setFocus();
    else if (command == PaneCommand::newFolder)
        addFolder(selectedFolder());
    else if (command == PaneCommand::open)
        activate(current);
    else if (command == PaneCommand::rename)
        editName(id);
    else if (command == PaneCommand::remove || command == PaneCommand::removeForGood)
        askToDelete(current);
    else if (!m_tree->isFolder(current) && command == PaneCommand::info)
        emit editRequested(id);
    else if (!m_tree->isFolder(current))
        emit connectRequested(id, Where::newTab);
}

QWidget *ServerLibraryView::makeHeader()
{
    auto *header = new QWidget(this);
    m_search->setObjectName(QStringLiteral("serverSearch"));
    m_search->setPlaceholderText(tr("Search"));
    m_search->setAccessibleName(tr("Search servers"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(Theme::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    QPushButton *newServer = Widgets::primaryButton(tr("New server…"), QStringLiteral("newServer"), header);
    QPushButton *newFolder = Widgets::button(tr("New folder"), QStringLiteral("newServerFolder"), header);
    QPushButton *import = Widgets::button(tr("Import…"), QStringLiteral("importServers"), header);
    import->setToolTip(tr("Take over the hosts of ~/.ssh/config; files of other kinds: Servers › Import…"));
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(12, 10, 12, 10);
    row->addWidget(m_search, 1);
    row->addWidget(import);
    row->addWidget(newFolder);
    row->addWidget(newServer);

    connect(m_search, &QLineEdit::textChanged, m_tree, &ServerTreeModel::setFilter);
    m_search->installEventFilter(this);
    connect(newServer, &QPushButton::clicked, this, [this] { emit newServerRequested(selectedFolder()); });
    connect(newFolder, &QPushButton::clicked, this, [this] { addFolder(selectedFolder()); });
    connect(import, &QPushButton::clicked, this, &ServerLibraryView::importRequested);
    return header;
}

QWidget *ServerLibraryView::makeEmptyState()
{
    auto *empty = new QWidget(this);
    empty->setObjectName(QStringLiteral("serverLibraryEmpty"));
    auto *icon = new QLabel(empty);
    icon->setPixmap(Theme::icon(QStringLiteral("network-server")).pixmap(48, 48));
    auto *title = Widgets::label({}, Widgets::TextRole::heading, empty);
    title->setObjectName(QStringLiteral("emptyTitle"));
    auto *hint = Widgets::label({}, Widgets::TextRole::muted, empty);
    hint->setObjectName(QStringLiteral("emptyHint"));
    auto *column = new QVBoxLayout(empty);
    column->addStretch(2);
    for (QLabel *label : {icon, title, hint}) {
        label->setAlignment(Qt::AlignCenter);
        column->addWidget(label);
    }
    column->addStretch(3);
    return empty;
}

void ServerLibraryView::makeTree()
{
    m_view->setObjectName(QStringLiteral("serverTree"));
    m_view->setAccessibleName(tr("Saved servers"));
    m_view->setModel(m_tree);
    m_view->setAlternatingRowColors(false);
    m_view->setUniformRowHeights(true);
    m_view->setAllColumnsShowFocus(true);
    m_view->setTabKeyNavigation(false);
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setEditTriggers(QAbstractItemView::EditKeyPressed);
    m_view->setDragDropMode(QAbstractItemView::InternalMove);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->setExpandsOnDoubleClick(false);
    m_view->header()->setSectionResizeMode(ServerTreeModel::nameColumn, QHeaderView::Stretch);
    m_view->header()->setSectionResizeMode(ServerTreeModel::addressColumn, QHeaderView::Interactive);
    m_view->header()->resizeSection(ServerTreeModel::addressColumn, 220);
    m_view->header()->setSectionResizeMode(ServerTreeModel::protocolColumn, QHeaderView::Fixed);
    m_view->header()->resizeSection(ServerTreeModel::protocolColumn, 90);
    m_view->header()->setStretchLastSection(false);
    m_view->installEventFilter(this);
    connect(m_view, &QTreeView::doubleClicked, this, &ServerLibraryView::activate);
    connect(m_view, &QWidget::customContextMenuRequested, this, &ServerLibraryView::showMenu);
}

/// Names are what servers are known by: where there is little room, addresses shrink first.
void ServerLibraryView::fitColumns(int width)
{
    constexpr int nameWidth = 190;
    const int left = width - nameWidth - m_view->header()->sectionSize(ServerTreeModel::protocolColumn);
    m_view->header()->resizeSection(ServerTreeModel::addressColumn, std::clamp(left, 90, 220));
}

void ServerLibraryView::updateEmptyState()
{
    const bool isEmpty = m_tree->rowCount() == 0;
    m_stack->setCurrentIndex(isEmpty ? 1 : 0);
    const bool isSearching = !m_search->text().trimmed().isEmpty();
    findChild<QLabel *>(QStringLiteral("emptyTitle"))
        ->setText(isSearching ? tr("No server matches “%1”").arg(m_search->text().trimmed()) : tr("No servers yet"));
    findChild<QLabel *>(QStringLiteral("emptyHint"))
        ->setText(isSearching ? tr("Names, addresses and notes are searched. Escape clears the search.")
                              : tr("“New server…” saves one; “Import…” takes over the hosts of your ~/.ssh/config."));
}

void ServerLibraryView::rememberExpansion()
{
    m_current = m_tree->id(m_view->currentIndex());
    const std::function<void(const QModelIndex &)> remember = [&](const QModelIndex &parent) {
        for (int row = 0; row < m_tree->rowCount(parent); ++row) {
            const QModelIndex index = m_tree->index(row, 0, parent);
            if (!m_tree->isFolder(index))
                continue;
            if (m_view->isExpanded(index))
                m_collapsed.remove(m_tree->id(index));
            else
                m_collapsed.insert(m_tree->id(index));
            remember(index);
        }
    };
    // A search opens every folder; what the user had collapsed is remembered from before it.
    if (m_search->text().trimmed().isEmpty())
        remember({});
}

void ServerLibraryView::restoreAfterReset()
{
    m_view->expandAll();
    if (m_search->text().trimmed().isEmpty()) {
        for (const QUuid &folder : std::as_const(m_collapsed))
            m_view->collapse(m_tree->indexOf(folder));
    }
    const QModelIndex current = m_tree->indexOf(m_current);
    m_view->setCurrentIndex(current.isValid() ? current : m_tree->index(0, 0));
    updateEmptyState();
}

void ServerLibraryView::activate(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    if (m_tree->isFolder(index))
        m_view->setExpanded(index.siblingAtColumn(0), !m_view->isExpanded(index.siblingAtColumn(0)));
    else
        emit connectRequested(m_tree->id(index), Where::here);
}

std::optional<QUuid> ServerLibraryView::selectedFolder() const
{
    QModelIndex index = m_view->currentIndex().siblingAtColumn(0);
    if (index.isValid() && !m_tree->isFolder(index))
        index = index.parent();
    return index.isValid() ? std::optional(m_tree->id(index)) : std::nullopt;
}

void ServerLibraryView::addFolder(const std::optional<QUuid> &parent)
{
    m_search->clear();
    ServerFolder folder;
    folder.name = tr("New Folder");
    folder.parentID = parent;
    folder.sortIndex = m_model.servers().folders(parent).size();
    m_model.servers().updateFolder(folder);
    editName(folder.id);
}

void ServerLibraryView::editName(const QUuid &id)
{
    const QModelIndex index = m_tree->indexOf(id);
    m_view->scrollTo(index);
    m_view->setCurrentIndex(index);
    m_view->setFocus();
    m_view->edit(index);
}

void ServerLibraryView::askToDelete(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    const QUuid id = m_tree->id(index);
    const QString name = index.siblingAtColumn(0).data(Qt::EditRole).toString();
    if (m_tree->isFolder(index)) {
        m_bar->ask(tr("Delete the folder “%1”? Servers and subfolders inside move up one level").arg(name),
                   tr("Delete folder"), MessageBar::Tone::danger, [this, id] { m_model.servers().deleteFolder(id); });
        return;
    }
    m_bar->ask(tr("Delete the server “%1” with its stored password and keys? Nothing on the server itself changes.")
                   .arg(m_model.servers().server(id)->displayName()),
               tr("Delete server"), MessageBar::Tone::danger, [this, id] { m_model.removeServer(id); });
}

void ServerLibraryView::showMenu(const QPoint &position)
{
    const QModelIndex index = m_view->indexAt(position);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!index.isValid()) {
        menu->addAction(tr("New server…"), this, [this] { emit newServerRequested(std::nullopt); });
        menu->addAction(tr("New folder"), this, [this] { addFolder(std::nullopt); });
        menu->addAction(tr("Import from ~/.ssh/config…"), this, &ServerLibraryView::importRequested);
    } else if (m_tree->isFolder(index)) {
        fillFolderMenu(*menu, m_tree->id(index));
    } else {
        fillServerMenu(*menu, m_tree->id(index));
    }
    menu->popup(m_view->viewport()->mapToGlobal(position));
}

void ServerLibraryView::fillServerMenu(QMenu &menu, const QUuid &server)
{
    menu.addAction(tr("Connect"), this, [this, server] { emit connectRequested(server, Where::here); });
    menu.addAction(tr("Connect in a new tab"), this, [this, server] { emit connectRequested(server, Where::newTab); });
    if (m_model.connections().isConnected(server))
        menu.addAction(tr("Disconnect"), this, [this, server] { emit disconnectRequested(server); });
    menu.addSeparator();
    menu.addAction(tr("Edit…"), this, [this, server] { emit editRequested(server); });
    menu.addAction(tr("Rename"), this, [this, server] { editName(server); });
    const bool isFavorite = m_model.servers().server(server).value_or(ServerConnection()).isFavorite;
    menu.addAction(isFavorite ? tr("Remove from favourites") : tr("Add to favourites"), this,
                   [this, server] { m_model.servers().toggleFavorite(server); });
    fillColorMenu(*menu.addMenu(tr("Colour")), server);
    menu.addSeparator();
    menu.addAction(tr("Delete…"), this, [this, server] { askToDelete(m_tree->indexOf(server)); });
}

void ServerLibraryView::fillColorMenu(QMenu &menu, const QUuid &server)
{
    const auto paint = [this, server](const std::optional<QString> &tag) {
        if (std::optional<ServerConnection> record = m_model.servers().server(server)) {
            record->colorTag = tag;
            m_model.servers().upsert(*record);
        }
    };
    menu.addAction(tr("None"), this, [paint] { paint(std::nullopt); });
    for (const auto &[tag, label] : ServerLook::colorTags())
        menu.addAction(ServerLook::dot(QColor(tag)), label, this, [paint, tag = tag] { paint(tag); });
}

void ServerLibraryView::fillFolderMenu(QMenu &menu, const QUuid &folder)
{
    ServerStore &store = m_model.servers();
    menu.addAction(tr("New server here…"), this, [this, folder] { emit newServerRequested(folder); });
    menu.addAction(tr("New subfolder"), this, [this, folder] { addFolder(folder); });
    menu.addSeparator();
    menu.addAction(tr("Rename"), this, [this, folder] { editName(folder); });
    menu.addAction(tr("Move up"), this, [&store, folder] { store.moveFolder(folder, ServerStore::Direction::up); });
    menu.addAction(tr("Move down"), this, [&store, folder] { store.moveFolder(folder, ServerStore::Direction::down); });
    menu.addSeparator();
    menu.addAction(tr("Delete…"), this, [this, folder] { askToDelete(m_tree->indexOf(folder)); });
}

bool ServerLibraryView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_view && event->type() == QEvent::Resize)
        fitColumns(static_cast<QResizeEvent *>(event)->size().width());
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto &press = *static_cast<QKeyEvent *>(event);
    if (watched == m_view) {
        const std::optional<PaneCommand> command = commandForKey(press);
        if (!command || !isAvailable(*command))
            return QWidget::eventFilter(watched, event);
        run(*command);
        return true;
    }
    switch (press.key()) {
    case Qt::Key_Down:
        m_view->setFocus();
        return true;
    case Qt::Key_Escape:
        m_search->clear();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        activate(m_view->currentIndex());
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

} // namespace moorix
