// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PaneCommand.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix", text);
}

// clang-format off
QList<PaneCommandInfo> makeTable()
{
    using enum PaneCommand;
    return {
        {open, tr("Open"), u"document-open"_s, {Qt::Key_Return, Qt::Key_Enter}},
        {openInOtherPane, tr("Open in other pane"), u"view-split-left-right"_s, {Qt::CTRL | Qt::Key_Return}},
        {openInNewTab, tr("Open in new tab"), u"tab-new"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_Return}},
        {edit, tr("Edit"), u"document-edit"_s, {Qt::Key_F4}},
        {quickLook, tr("Quick look"), u"view-preview"_s, {Qt::Key_F3}},
        {goUp, tr("Up"), u"go-up"_s, {Qt::ALT | Qt::Key_Up, Qt::Key_Backspace}},
        {goBack, tr("Back"), u"go-previous"_s, {Qt::ALT | Qt::Key_Left, Qt::Key_Back}},
        {goForward, tr("Forward"), u"go-next"_s, {Qt::ALT | Qt::Key_Right, Qt::Key_Forward}},
        {reload, tr("Reload"), u"view-refresh"_s, {Qt::CTRL | Qt::Key_R, Qt::Key_Refresh}},
        {editPath, tr("Go to path"), u"go-jump"_s, {Qt::CTRL | Qt::Key_L}},
        {filter, tr("Filter"), u"view-filter"_s, {Qt::CTRL | Qt::Key_F}},
        {toggleHidden, tr("Show hidden files"), u"view-visible"_s, {Qt::CTRL | Qt::Key_H}},
        {sortByName, tr("Sort by name"), u"sort-name"_s, {Qt::CTRL | Qt::Key_F3}},
        {sortBySize, tr("Sort by size"), u"sort_incr"_s, {Qt::CTRL | Qt::Key_F6}},
        {sortByDate, tr("Sort by date"), u"view-calendar"_s, {Qt::CTRL | Qt::Key_F5}},
        {sortByKind, tr("Sort by kind"), u"view-list-icons"_s, {Qt::CTRL | Qt::Key_F4}},
        {sortAscending, tr("Ascending"), u"view-sort-ascending"_s, {}},
        {sortDescending, tr("Descending"), u"view-sort-descending"_s, {}},
        {openTerminal, tr("Open terminal here"), u"dialog-scripts"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_T}},
        {newFolder, tr("New folder"), u"folder-new"_s, {Qt::Key_F7, Qt::CTRL | Qt::SHIFT | Qt::Key_N}},
        {newFile, tr("New file"), u"document-new"_s, {Qt::SHIFT | Qt::Key_F4}},
        {rename, tr("Rename"), u"edit-rename"_s, {Qt::Key_F2, Qt::SHIFT | Qt::Key_F6}},
        {duplicate, tr("Duplicate"), u"edit-clone"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_D}},
        {remove, tr("Delete"), u"edit-delete"_s, {Qt::Key_Delete}},
        {removeForGood, tr("Delete for good"), u"edit-delete-shred"_s, {Qt::SHIFT | Qt::Key_Delete, Qt::Key_F8}},
        {cut, tr("Cut"), u"edit-cut"_s, {Qt::CTRL | Qt::Key_X}},
        {copy, tr("Copy"), u"edit-copy"_s, {Qt::CTRL | Qt::Key_C}},
        {paste, tr("Paste"), u"edit-paste"_s, {Qt::CTRL | Qt::Key_V}},
        {copyToOtherSide, tr("Copy to other side"), u"edit-copy"_s, {Qt::Key_F5}},
        {moveToOtherSide, tr("Move to other side"), u"edit-cut"_s, {Qt::Key_F6}},
        {compareFiles, tr("Compare files…"), u"vcs-diff"_s, {Qt::CTRL | Qt::Key_M}},
        {selectAll, tr("Select all"), u"edit-select-all"_s, {Qt::CTRL | Qt::Key_A}},
        {invertSelection, tr("Invert selection"), u"edit-select-invert"_s, {}},
        {copyPath, tr("Copy path"), u"edit-copy-path"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_C}},
        {info, tr("Info"), u"document-properties"_s, {Qt::ALT | Qt::Key_Return, Qt::ALT | Qt::Key_Enter}},
        {focusOtherSide, tr("Other side"), u"view-split-left-right"_s, {Qt::Key_Tab}},
    };
}
// clang-format on

const QList<PaneCommandInfo> &table()
{
    static const QList<PaneCommandInfo> commands = makeTable();
    return commands;
}

} // namespace

const PaneCommandInfo &infoOf(PaneCommand command)
{
    return *std::ranges::find(table(), command, &PaneCommandInfo::command);
}

std::optional<PaneCommand> commandForKey(const QKeyEvent &event)
{
    const QKeySequence pressed(QKeyCombination(event.modifiers() & ~Qt::KeypadModifier, Qt::Key(event.key())));
    for (const PaneCommandInfo &info : table()) {
        if (info.keys.contains(pressed))
            return info.command;
    }
    return std::nullopt;
}

} // namespace moorix
