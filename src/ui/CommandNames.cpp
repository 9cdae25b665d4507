// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/CommandNames.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix::CommandNames {

namespace {

using W = WindowCommand;
using P = PaneCommand;

struct Row
{
    WindowActions::Entry command;
    QLatin1String name;
    /// In English; translated when it is asked for.
    const char *synonyms = "";
};

// Toolbars and the list of recently used commands are stored by these names; docs/formats.md lists them.
// clang-format off
constexpr Row rows[] = {
    {W::newTab, "newTab"_L1, QT_TRANSLATE_NOOP("CommandNames", "add open another")},
    {W::closeTab, "closeTab"_L1, QT_TRANSLATE_NOOP("CommandNames", "end")},
    {W::nextTab, "nextTab"_L1, QT_TRANSLATE_NOOP("CommandNames", "right forward")},
    {W::previousTab, "previousTab"_L1, QT_TRANSLATE_NOOP("CommandNames", "left back")},
    {W::quit, "quit"_L1, QT_TRANSLATE_NOOP("CommandNames", "exit close leave program")},
    {W::preferences, "settings"_L1, QT_TRANSLATE_NOOP("CommandNames", "settings options configuration theme font")},
    {W::serverLibrary, "serverLibrary"_L1, QT_TRANSLATE_NOOP("CommandNames", "saved hosts bookmarks connections")},
    {W::quickConnect, "quickConnect"_L1, QT_TRANSLATE_NOOP("CommandNames", "address ssh sftp ftp login")},
    {W::newServer, "newServer"_L1, QT_TRANSLATE_NOOP("CommandNames", "add host connection")},
    {W::importServers, "importServers"_L1, QT_TRANSLATE_NOOP("CommandNames", "openssh hosts add")},
    {W::importFile, "importFile"_L1, QT_TRANSLATE_NOOP("CommandNames", "filezilla openssh configuration servers read")},
    {W::exportServers, "exportServers"_L1, QT_TRANSLATE_NOOP("CommandNames", "write save library hosts")},
    {W::exportConfiguration, "exportConfiguration"_L1, QT_TRANSLATE_NOOP("CommandNames", "write save settings move machine")},
    {W::disconnect, "disconnect"_L1, QT_TRANSLATE_NOOP("CommandNames", "end log out hang up")},
    {W::addFavorite, "addFavorite"_L1, QT_TRANSLATE_NOOP("CommandNames", "bookmark star pin sidebar favorites")},
    {W::home, "home"_L1, QT_TRANSLATE_NOOP("CommandNames", "user directory start")},
    {W::sameFolderThere, "sameFolderThere"_L1, QT_TRANSLATE_NOOP("CommandNames", "mirror both same directory")},
    {W::sync, "sync"_L1, QT_TRANSLATE_NOOP("CommandNames", "synchronise synchronize mirror keep alike")},
    {W::syncPairs, "syncPairs"_L1, QT_TRANSLATE_NOOP("CommandNames", "pairs synchronise synchronize overview")},
    {W::swapSides, "swapSides"_L1, QT_TRANSLATE_NOOP("CommandNames", "exchange panes left right")},
    {W::twoSides, "twoSides"_L1, QT_TRANSLATE_NOOP("CommandNames", "dual pane split single")},
    {W::sidebar, "sidebar"_L1, QT_TRANSLATE_NOOP("CommandNames", "places show hide panel")},
    {W::focusSidebar, "focusSidebar"_L1, QT_TRANSLATE_NOOP("CommandNames", "focus places")},
    {W::transfers, "transfers"_L1, QT_TRANSLATE_NOOP("CommandNames", "queue progress copies downloads uploads jobs")},
    {W::terminal, "terminal"_L1, QT_TRANSLATE_NOOP("CommandNames", "shell console command line")},
    {W::terminalInSide, "terminalInSide"_L1, QT_TRANSLATE_NOOP("CommandNames", "shell console tab")},
    {W::terminalToFolder, "terminalToFolder"_L1, QT_TRANSLATE_NOOP("CommandNames", "cd shell directory")},
    {W::folderOfTerminal, "folderOfTerminal"_L1, QT_TRANSLATE_NOOP("CommandNames", "pwd shell directory")},
    {W::backups, "backups"_L1, QT_TRANSLATE_NOOP("CommandNames", "archive schedule save restore")},
    {W::backupSelection, "backupSelection"_L1, QT_TRANSLATE_NOOP("CommandNames", "archive new job save")},
    {W::openArchive, "openArchive"_L1, QT_TRANSLATE_NOOP("CommandNames", "restore zip extract decrypt")},
    {W::monitor, "monitor"_L1, QT_TRANSLATE_NOOP("CommandNames", "cpu memory load health processes disk network")},
    {W::editor, "editor"_L1, QT_TRANSLATE_NOOP("CommandNames", "text code open files unsaved")},
    {W::checkForUpdates, "checkForUpdates"_L1, QT_TRANSLATE_NOOP("CommandNames", "newer version upgrade download")},
    {W::shortcuts, "shortcuts"_L1, QT_TRANSLATE_NOOP("CommandNames", "keys help hotkeys bindings")},
    {W::commandPalette, "commandPalette"_L1, QT_TRANSLATE_NOOP("CommandNames", "search everything run")},
    {W::customizeToolBar, "customizeToolBar"_L1, QT_TRANSLATE_NOOP("CommandNames", "customize buttons icons arrange")},
    {W::introduction, "introduction"_L1, QT_TRANSLATE_NOOP("CommandNames", "welcome tour keychain first start")},
    {W::closeOtherTabs, "closeOtherTabs"_L1, QT_TRANSLATE_NOOP("CommandNames", "only this")},
    {W::editServer, "editServer"_L1, QT_TRANSLATE_NOOP("CommandNames", "change connection settings host")},
    {W::newBackup, "newBackup"_L1, QT_TRANSLATE_NOOP("CommandNames", "add job schedule archive")},
    {W::pauseTransfers, "pauseTransfers"_L1, QT_TRANSLATE_NOOP("CommandNames", "hold stop queue")},
    {W::resumeTransfers, "resumeTransfers"_L1, QT_TRANSLATE_NOOP("CommandNames", "continue go on queue")},
    {W::retryTransfers, "retryTransfers"_L1, QT_TRANSLATE_NOOP("CommandNames", "again transfers errors queue")},
    {W::cancelTransfers, "cancelTransfers"_L1, QT_TRANSLATE_NOOP("CommandNames", "abort stop queue")},
    {W::clearTransfers, "clearTransfers"_L1, QT_TRANSLATE_NOOP("CommandNames", "remove finished done queue")},
    {W::about, "about"_L1, QT_TRANSLATE_NOOP("CommandNames", "version licence")},
    {P::open, "open"_L1, QT_TRANSLATE_NOOP("CommandNames", "enter start view")},
    {P::openInOtherPane, "openInOtherPane"_L1, QT_TRANSLATE_NOOP("CommandNames", "side folder")},
    {P::openInNewTab, "openInNewTab"_L1, QT_TRANSLATE_NOOP("CommandNames", "folder")},
    {P::edit, "edit"_L1, QT_TRANSLATE_NOOP("CommandNames", "change text editor")},
    {P::quickLook, "quickLook"_L1, QT_TRANSLATE_NOOP("CommandNames", "preview view show")},
    {P::goUp, "goUp"_L1, QT_TRANSLATE_NOOP("CommandNames", "parent folder directory")},
    {P::goBack, "goBack"_L1, QT_TRANSLATE_NOOP("CommandNames", "previous folder history")},
    {P::goForward, "goForward"_L1, QT_TRANSLATE_NOOP("CommandNames", "next folder history")},
    {P::reload, "reload"_L1, QT_TRANSLATE_NOOP("CommandNames", "refresh update list again")},
    {P::editPath, "editPath"_L1, QT_TRANSLATE_NOOP("CommandNames", "location address folder directory")},
    {P::filter, "filter"_L1, QT_TRANSLATE_NOOP("CommandNames", "search find narrow")},
    {P::toggleHidden, "toggleHidden"_L1, QT_TRANSLATE_NOOP("CommandNames", "dot files invisible")},
    {P::sortByName, "sortByName"_L1, QT_TRANSLATE_NOOP("CommandNames", "order alphabet")},
    {P::sortBySize, "sortBySize"_L1, QT_TRANSLATE_NOOP("CommandNames", "order bytes largest smallest")},
    {P::sortByDate, "sortByDate"_L1, QT_TRANSLATE_NOOP("CommandNames", "order modified time newest oldest")},
    {P::sortByKind, "sortByKind"_L1, QT_TRANSLATE_NOOP("CommandNames", "order type extension")},
    {P::sortAscending, "sortAscending"_L1, QT_TRANSLATE_NOOP("CommandNames", "sort order smallest oldest")},
    {P::sortDescending, "sortDescending"_L1, QT_TRANSLATE_NOOP("CommandNames", "sort order reverse largest newest")},
    {P::openTerminal, "openTerminal"_L1, QT_TRANSLATE_NOOP("CommandNames", "shell console command line")},
    {P::newFolder, "newFolder"_L1, QT_TRANSLATE_NOOP("CommandNames", "make create directory mkdir")},
    {P::newFile, "newFile"_L1, QT_TRANSLATE_NOOP("CommandNames", "make create empty touch")},
    {P::rename, "rename"_L1, QT_TRANSLATE_NOOP("CommandNames", "name change")},
    {P::duplicate, "duplicate"_L1, QT_TRANSLATE_NOOP("CommandNames", "copy clone")},
    {P::remove, "remove"_L1, QT_TRANSLATE_NOOP("CommandNames", "remove bin trash erase")},
    {P::removeForGood, "removeForGood"_L1, QT_TRANSLATE_NOOP("CommandNames", "remove permanently erase shred")},
    {P::cut, "cut"_L1, QT_TRANSLATE_NOOP("CommandNames", "clipboard move")},
    {P::copy, "copy"_L1, QT_TRANSLATE_NOOP("CommandNames", "clipboard")},
    {P::paste, "paste"_L1, QT_TRANSLATE_NOOP("CommandNames", "clipboard insert")},
    {P::copyToOtherSide, "copyToOtherSide"_L1, QT_TRANSLATE_NOOP("CommandNames", "transfer upload download send")},
    {P::moveToOtherSide, "moveToOtherSide"_L1, QT_TRANSLATE_NOOP("CommandNames", "transfer upload download send")},
    {P::compareFiles, "compareFiles"_L1, QT_TRANSLATE_NOOP("CommandNames", "diff difference")},
    {P::selectAll, "selectAll"_L1, QT_TRANSLATE_NOOP("CommandNames", "mark everything")},
    {P::invertSelection, "invertSelection"_L1, QT_TRANSLATE_NOOP("CommandNames", "mark others reverse")},
    {P::copyPath, "copyPath"_L1, QT_TRANSLATE_NOOP("CommandNames", "clipboard address location name")},
    {P::info, "info"_L1, QT_TRANSLATE_NOOP("CommandNames", "properties permissions size chmod details")},
    {P::focusOtherSide, "focusOtherSide"_L1, QT_TRANSLATE_NOOP("CommandNames", "switch pane focus")},
};
// clang-format on

const Row *rowOf(const WindowActions::Entry &command)
{
    const auto *found = std::ranges::find(rows, command, &Row::command);
    return found == std::end(rows) ? nullptr : found;
}

} // namespace

QString nameOf(const WindowActions::Entry &command)
{
    const Row *row = rowOf(command);
    return row ? QString(row->name) : QString();
}

std::optional<WindowActions::Entry> commandOf(const QString &name)
{
    const auto *found = std::ranges::find_if(rows, [&name](const Row &row) { return name == row.name; });
    return found == std::end(rows) ? std::nullopt : std::optional(found->command);
}

QString synonymsOf(const WindowActions::Entry &command)
{
    const Row *row = rowOf(command);
    return row ? QCoreApplication::translate("CommandNames", row->synonyms) : QString();
}

} // namespace moorix::CommandNames
