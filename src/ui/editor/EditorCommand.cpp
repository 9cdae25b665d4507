// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorCommand.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("EditorCommand", text);
}

// clang-format off
QList<EditorCommandInfo> makeTable()
{
    using enum EditorCommand;
    return {
        {save, tr("Save"), u"document-save"_s, {Qt::CTRL | Qt::Key_S}},
        {saveAs, tr("Save as…"), u"document-save-as"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_S}},
        {find, tr("Find"), u"edit-find"_s, {Qt::CTRL | Qt::Key_F}},
        {replace, tr("Find and replace"), u"edit-find-replace"_s, {Qt::CTRL | Qt::Key_H}},
        {findNext, tr("Next hit"), u"go-down"_s, {Qt::Key_F3}},
        {findPrevious, tr("Previous hit"), u"go-up"_s, {Qt::SHIFT | Qt::Key_F3}},
        {goToLine, tr("Go to line"), u"go-jump"_s, {Qt::CTRL | Qt::Key_G}},
        {undo, tr("Undo"), u"edit-undo"_s, {Qt::CTRL | Qt::Key_Z}},
        {redo, tr("Redo"), u"edit-redo"_s, {Qt::CTRL | Qt::SHIFT | Qt::Key_Z, Qt::CTRL | Qt::Key_Y}},
        {reload, tr("Read again from the disk"), u"view-refresh"_s, {Qt::CTRL | Qt::Key_R}},
        {wrapLines, tr("Wrap long lines"), u"text-wrap"_s, {Qt::ALT | Qt::Key_Z}},
        {showBlanks, tr("Show blanks"), u"view-visible"_s, {Qt::ALT | Qt::Key_B}},
        {zoomIn, tr("Larger text"), u"zoom-in"_s, {Qt::CTRL | Qt::Key_Plus, Qt::CTRL | Qt::Key_Equal}},
        {zoomOut, tr("Smaller text"), u"zoom-out"_s, {Qt::CTRL | Qt::Key_Minus}},
        {zoomReset, tr("Text size of the window"), u"zoom-original"_s, {Qt::CTRL | Qt::Key_0}},
        {close, tr("Close"), u"window-close"_s, {Qt::CTRL | Qt::Key_W, Qt::Key_Escape}},
    };
}
// clang-format on

} // namespace

const QList<EditorCommandInfo> &editorCommands()
{
    static const QList<EditorCommandInfo> commands = makeTable();
    return commands;
}

const EditorCommandInfo &infoOf(EditorCommand command)
{
    return *std::ranges::find(editorCommands(), command, &EditorCommandInfo::command);
}

QString toolTipOf(EditorCommand command)
{
    const EditorCommandInfo &info = infoOf(command);
    return u"%1 (%2)"_s.arg(info.text, info.keys.constFirst().toString(QKeySequence::NativeText));
}

std::optional<EditorCommand> editorCommandForKey(const QKeyEvent &event)
{
    const auto key = QKeyCombination(event.modifiers() & ~Qt::KeypadModifier, Qt::Key(event.key()));
    // Where a plus needs Shift, it is a plus all the same.
    const auto plain = QKeyCombination(event.modifiers() & Qt::ControlModifier, Qt::Key(event.key()));
    for (const EditorCommandInfo &info : editorCommands()) {
        if (info.keys.contains(QKeySequence(key)))
            return info.command;
        const bool isPlus = event.key() == Qt::Key_Plus && info.command == EditorCommand::zoomIn;
        if (isPlus && info.keys.contains(QKeySequence(plain)))
            return info.command;
    }
    return std::nullopt;
}

} // namespace moorix
