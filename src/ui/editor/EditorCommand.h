// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

#include <optional>

class QKeyEvent;

namespace moorix {

/// What can be done in the editor by key or button. Within it, these keys come before those of the window.
enum class EditorCommand {
    save,
    saveAs,
    find,
    replace,
    findNext,
    findPrevious,
    goToLine,
    undo,
    redo,
    reload,
    wrapLines,
    showBlanks,
    zoomIn,
    zoomOut,
    zoomReset,
    close
};

struct EditorCommandInfo
{
    EditorCommand command;
    QString text;
    QString iconName;
    /// The first is the one that is shown.
    QList<QKeySequence> keys;
};

const QList<EditorCommandInfo> &editorCommands();
const EditorCommandInfo &infoOf(EditorCommand command);
/// "Save (Ctrl+S)".
QString toolTipOf(EditorCommand command);
/// The command of a key press, or nothing.
std::optional<EditorCommand> editorCommandForKey(const QKeyEvent &event);

} // namespace moorix
