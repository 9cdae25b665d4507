// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferEngine.h"

#include <functional>
#include <memory>
#include <optional>

namespace moorix {

class FileClipboard;
class ListColumns;
class SettingsStore;

/// What a file list needs of the rest of the program. References outlive the view; a function that is absent disables
/// what would call it. Functions that return a text say why they cannot do what was asked.
struct PaneContext
{
    using Refusal = std::optional<QString>;

    SettingsStore &settings;
    FileClipboard &clipboard;
    ListColumns &columns;
    /// The local disk, for files that are dropped or pasted from other programs.
    std::shared_ptr<FileService> localFiles;

    /// The pane's selection goes into the folder shown on the other side.
    std::function<Refusal()> copyToOtherSide;
    std::function<Refusal()> moveToOtherSide;
    /// The selected file against another one that is selected on this side or the other.
    std::function<Refusal()> compareFiles;
    /// The clipboard's files come into the folder shown here.
    std::function<Refusal()> paste;
    /// A drop, or a paste from another program. The receiver says what becomes of files that exist already; it may be
    /// called after the view has gone.
    std::function<void(TransferRequest)> transfer;
    /// A file was opened (Enter, double click).
    std::function<void(const FileItem &)> openFile;
    /// A file is wanted in the editor.
    std::function<void(const FileItem &)> editFile;
    std::function<void(const FileItem &folder)> openInOtherPane;
    std::function<void(const FileItem &folder)> openInNewTab;
    /// A terminal in the folder shown here.
    std::function<void()> openTerminal;
    /// Tab moves on to the other side.
    std::function<void()> focusOtherSide;
};

} // namespace moorix
