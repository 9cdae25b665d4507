// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

#include <optional>

class QKeyEvent;

namespace moorix {

/// What can be done in a file list, by key, context menu, menu bar or toolbar alike.
enum class PaneCommand {
    open,
    openInOtherPane,
    openInNewTab,
    edit,
    quickLook,
    goUp,
    goBack,
    goForward,
    reload,
    editPath,
    filter,
    toggleHidden,
    sortByName,
    sortBySize,
    sortByDate,
    sortByKind,
    sortAscending,
    sortDescending,
    openTerminal,
    newFolder,
    newFile,
    rename,
    duplicate,
    /// To the bin on the local disk, for good elsewhere.
    remove,
    removeForGood,
    cut,
    copy,
    paste,
    copyToOtherSide,
    moveToOtherSide,
    compareFiles,
    selectAll,
    invertSelection,
    copyPath,
    info,
    focusOtherSide
};

struct PaneCommandInfo
{
    PaneCommand command;
    QString text;
    QString iconName;
    /// The first is the one that menus show.
    QList<QKeySequence> keys;
};

const PaneCommandInfo &infoOf(PaneCommand command);
/// The command of a key press, or nothing.
std::optional<PaneCommand> commandForKey(const QKeyEvent &event);

} // namespace moorix
