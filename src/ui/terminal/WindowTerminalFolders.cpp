// SPDX-License-Identifier: GPL-3.0-or-later
// Folders between the sides and the terminals.
#include "app/PaneTabs.h"
#include "app/ServerConnections.h"
#include "app/Session.h"
#include "base/Error.h"
#include "files/Format.h"
#include "files/PaneModel.h"
#include "remote/SFTPQuoting.h"
#include "ui/pane/FileMimeData.h"
#include "ui/terminal/TerminalView.h"
#include "ui/terminal/WindowTerminals.h"

#include <QFileInfo>
#include <QSysInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

bool isThisHost(const QString &host)
{
    const QString own = QSysInfo::machineHostName();
    return host.isEmpty() || host == u"localhost"_s ||
           host.section(u'.', 0, 0).compare(own.section(u'.', 0, 0), Qt::CaseInsensitive) == 0;
}

bool isOf(const Session &session, const QUuid &terminal)
{
    return session.pane() &&
           (session.server() ? session.server()->id == terminal : terminal == ServerConnection::localTerminalID);
}

} // namespace

/// The list of a side that shows a folder of the terminal's computer, the active side first; null when none does.
const PaneModel *WindowTerminals::paneOf(const QUuid &server) const
{
    for (const Side side : {m_model.activeSide(), otherSide(m_model.activeSide())}) {
        const Session &session = m_model.tabs(side).current();
        if (isOf(session, server) && !session.pane()->currentPath().isEmpty())
            return session.pane();
    }
    return nullptr;
}

void WindowTerminals::goToPaneFolder(const QUuid &server)
{
    const PaneModel *pane = paneOf(server);
    if (!pane)
        return tell(server, tr("Neither side shows a folder of this terminal's computer."));
    TerminalView &view = m_sessions.viewOf(server);
    const bool isLocal = server == ServerConnection::localTerminalID;
    if (!view.isRunning())
        return tell(server, tr("This terminal's program has ended."));
    if (view.emulator().showsAlternateScreen() || (isLocal && view.hasForegroundProgram()))
        return tell(server, tr("A program is running in this terminal; the shell cannot be told to go anywhere."));
    try {
        SFTPQuoting::rejectControlCharacters(pane->currentPath());
        const bool isSure = view.isAtEmptyPrompt();
        view.typeText(u"cd -- "_s + SFTPQuoting::shellPath(pane->currentPath()) + (isSure ? u"\r"_s : QString()));
        if (!isSure)
            view.showNote(tr("Enter goes there"));
        view.setFocus();
    } catch (const Error &error) {
        tell(server, error.message());
    }
}

void WindowTerminals::typePaths(const QUuid &server, const QMimeData &files)
{
    TerminalView &view = m_sessions.viewOf(server);
    if (!view.isRunning())
        return tell(server, tr("This terminal's program has ended."));
    QStringList paths;
    std::optional<QUuid> origin = ServerConnection::localTerminalID;
    if (const auto *items = qobject_cast<const FileMimeData *>(&files)) {
        for (const FileItem &item : items->items())
            paths += item.path;
        if (items->service() != m_model.localFiles())
            origin = m_model.connections().serverOf(*items->service());
    } else {
        paths = FileMimeData::localPaths(files);
    }
    try {
        std::ranges::for_each(paths, [](QString &path) {
            SFTPQuoting::rejectControlCharacters(path);
            path = SFTPQuoting::shellPath(path);
        });
        view.paste(paths.join(u' '));
        if (origin != server)
            view.showNote(tr("These files are not on this terminal's computer"));
        view.setFocus();
    } catch (const Error &error) {
        tell(server, error.message());
    }
}

void WindowTerminals::openTerminalFolder(const QUuid &server)
{
    TerminalView &view = m_sessions.viewOf(server);
    const QString told = view.emulator().workingFolder();
    if (!told.isEmpty())
        return openFolderOfHost(server, told, view.emulator().workingHost());
    // A shell that says nothing can be looked at, as long as it runs on this computer.
    const bool isLocal = server == ServerConnection::localTerminalID;
    const QString seen =
        isLocal && view.isRunning() ? QFileInfo(u"/proc/%1/cwd"_s.arg(view.processId())).symLinkTarget() : QString();
    if (seen.isEmpty())
        return tell(server, tr("The shell in this terminal does not say which folder it is in."));
    openFolder(server, seen);
}

void WindowTerminals::openFolderOfHost(const QUuid &server, const QString &path, const QString &host)
{
    if (server == ServerConnection::localTerminalID && !isThisHost(host))
        return tell(server, tr("“%1” is a folder of %2, not of this computer.").arg(Format::display(path), host));
    openFolder(server, path);
}

void WindowTerminals::openFolder(const QUuid &server, const QString &path)
{
    for (const Side side : {m_model.activeSide(), otherSide(m_model.activeSide())}) {
        const Session &session = m_model.tabs(side).current();
        if (isOf(session, server)) {
            session.pane()->load(path, true);
            return;
        }
    }
    PaneTabs &tabs = m_model.tabs(m_model.activeSide());
    if (server == ServerConnection::localTerminalID)
        tabs.openLocal(path);
    else
        tabs.openServer(m_sessions.serverOf(server), std::nullopt, path);
}

} // namespace moorix
