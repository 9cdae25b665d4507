// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ClipboardLink.h"

#include "app/FileClipboard.h"
#include "files/LocalFileService.h"
#include "ui/pane/FileMimeData.h"

#include <QClipboard>
#include <QGuiApplication>

namespace moorix {

ClipboardLink::ClipboardLink(const FileClipboard &files, QObject *parent)
    : QObject(parent)
    , m_files(files)
{
    connect(&files, &FileClipboard::changed, this, &ClipboardLink::follow);
}

/// What others have put there is left alone.
void ClipboardLink::follow()
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    const QMimeData *data = clipboard->mimeData();
    if (!data || !FileMimeData::isOurs(*data))
        return;
    const std::optional<FileClipboard::Content> &content = m_files.content();
    if (!content)
        return clipboard->clear();
    const auto *shown = qobject_cast<const FileMimeData *>(data);
    if (shown && shown->items() == content->items)
        return;
    const bool isLocal = std::dynamic_pointer_cast<LocalFileService>(content->service) != nullptr;
    auto *left = new FileMimeData(content->service, content->items, isLocal);
    left->noteWhetherCut(content->isCut);
    clipboard->setMimeData(left);
}

} // namespace moorix
