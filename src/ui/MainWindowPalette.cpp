// SPDX-License-Identifier: GPL-3.0-or-later
// The command palette in the window: what it offers, and what becomes of the choice.
#include "ui/MainWindow.h"

#include "app/PaneTabs.h"
#include "app/Session.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "platform/AppPaths.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "ui/CommandNames.h"
#include "ui/Favorites.h"
#include "ui/SideView.h"
#include "ui/Theme.h"
#include "ui/palette/CommandPalette.h"
#include "ui/palette/RecentPlaces.h"
#include "ui/servers/ServerLook.h"

#include <QAction>
#include <QFileInfo>

#include <algorithm>

namespace moorix {

namespace {

QString withoutMnemonic(QString text)
{
    return text.remove(u'&');
}

/// "~/site" for what lies in the home folder.
QString shortPath(const QString &path)
{
    const QString home = AppPaths::home();
    return Format::display(path.startsWith(home + u'/') ? u'~' + path.mid(home.size()) : path);
}

std::function<QIcon()> iconNamed(const QString &name)
{
    return [name] { return Theme::icon(name); };
}

} // namespace

void MainWindow::connectPalette()
{
    m_recent = std::make_unique<RecentPlaces>(m_model.preferences());
    m_handlers[WindowCommand::commandPalette] = [this] { showPalette(); };
}

void MainWindow::showPalette()
{
    if (!m_palette) {
        m_palette = new CommandPalette(*this);
        connect(m_palette, &CommandPalette::chosen, this, [this](const QString &id) { m_recent->noteEntry(id); });
    }
    if (m_palette->isVisible())
        m_palette->close();
    else
        m_palette->open(paletteEntries(), m_recent->entries());
}

void MainWindow::noteFolder()
{
    const Session &session = activeTabs().current();
    const bool isKept = !session.server() || m_model.servers().server(session.server()->id);
    if (m_recent && session.pane() && isKept)
        m_recent->noteFolder({session.server() ? session.server()->id : QUuid(), session.pane()->currentPath()});
}

QList<PaletteEntry> MainWindow::paletteEntries()
{
    QList<PaletteEntry> entries;
    addCommandsTo(entries);
    addTabsTo(entries);
    addFoldersTo(entries);
    addServersTo(entries);
    return entries;
}

void MainWindow::addCommandsTo(QList<PaletteEntry> &entries)
{
    const QList<FileItem> actedOn = entriesActedOn();
    for (const WindowActions::Menu &menu : WindowActions::menus()) {
        for (const WindowActions::Entry &command : menu.entries) {
            QAction *action = m_actions->action(command);
            if (!action || command == WindowActions::Entry(WindowCommand::commandPalette))
                continue;
            PaletteEntry entry;
            entry.id = QStringLiteral("command ") + CommandNames::nameOf(command);
            entry.text = withoutMnemonic(action->text());
            entry.detail =
                withoutMnemonic(menu.within.isEmpty() ? menu.title : tr("%1 ▸ %2").arg(menu.within, menu.title));
            entry.synonyms = CommandNames::synonymsOf(command);
            entry.keys = action->shortcut().toString(QKeySequence::NativeText);
            const std::optional<QString> reason = refusal(command, actedOn);
            entry.isEnabled = !reason;
            entry.refusal = reason.value_or(QString());
            entry.icon = [action] { return action->icon(); };
            entry.run = [action] { action->trigger(); };
            entries += entry;
        }
    }
}

void MainWindow::addTabsTo(QList<PaletteEntry> &entries)
{
    for (const Side side : {Side::left, Side::right}) {
        if (side == Side::right && !m_model.settings().dualPaneEnabled.value())
            continue;
        for (Session *session : m_model.tabs(side).sessions()) {
            PaletteEntry entry;
            // The sessions of the next run are others, so what is remembered is what they show.
            entry.id = QStringLiteral("tab %1 %2").arg(session->title(), session->folder());
            entry.text = tr("Go to tab “%1”").arg(session->title());
            entry.detail = (side == Side::left ? tr("left side") : tr("right side")) +
                           (session->folder().isEmpty() ? QString() : tr(", %1").arg(shortPath(session->folder())));
            entry.icon = iconNamed(QStringLiteral("tab-new"));
            entry.run = [this, side, tab = QPointer(session)] {
                const qsizetype index = m_model.tabs(side).sessions().indexOf(tab.data());
                if (index < 0)
                    return;
                showSides();
                m_model.tabs(side).setCurrentIndex(index);
                m_model.setActiveSide(side);
                activeView().focusContent();
            };
            entries += entry;
        }
    }
}

void MainWindow::addFoldersTo(QList<PaletteEntry> &entries)
{
    const auto add = [&](const RecentPlaces::Place &place, const QString &kind, const QString &iconName) {
        const std::optional<ServerConnection> server = m_model.servers().server(place.server);
        const QString id = QStringLiteral("folder %1 %2").arg(place.server.toString(), place.path);
        const bool isKnown =
            std::ranges::any_of(std::as_const(entries), [&id](const PaletteEntry &entry) { return entry.id == id; });
        if (isKnown || (!place.server.isNull() && !server))
            return;
        PaletteEntry entry;
        entry.id = id;
        const QString name = QFileInfo(place.path).fileName();
        entry.text = tr("Open “%1”").arg(Format::display(name.isEmpty() ? place.path : name));
        entry.detail =
            server ? tr("%1 on %2").arg(Format::display(place.path), server->displayName()) : shortPath(place.path);
        entry.synonyms = kind;
        entry.icon = iconNamed(iconName);
        entry.run = [this, place] {
            const std::optional<ServerConnection> known = m_model.servers().server(place.server);
            showSides();
            if (known)
                activeTabs().openServerHere(*known, place.path);
            else if (place.server.isNull())
                activeTabs().openLocalHere(place.path);
            activeView().focusContent();
        };
        entries += entry;
    };
    for (const QString &path : Favorites::parse(m_model.settings().localFavoritesRaw.value()))
        add({{}, path}, tr("favourite favorite folder"), QStringLiteral("bookmark-new"));
    for (const RecentPlaces::Place &place : m_recent->folders())
        add(place, tr("recent folder history"), QStringLiteral("folder-open"));
}

void MainWindow::addServersTo(QList<PaletteEntry> &entries)
{
    QList<ServerConnection> servers = m_model.servers().library().servers;
    std::ranges::stable_partition(servers, &ServerConnection::isFavorite);
    entries.reserve(entries.size() + servers.size());
    for (const ServerConnection &server : std::as_const(servers)) {
        PaletteEntry entry;
        entry.id = QStringLiteral("server ") + server.id.toString();
        entry.text = tr("Connect to “%1”").arg(Format::display(server.displayName()));
        entry.detail = ServerLook::address(server);
        entry.synonyms = server.notes;
        entry.icon = [this, id = server.id] {
            const std::optional<ServerConnection> known = m_model.servers().server(id);
            return known ? ServerLook::icon(*known) : QIcon();
        };
        entry.run = [this, id = server.id] { openServer(id, false); };
        entries += entry;
    }
}

} // namespace moorix
