// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/FileClipboard.h"

#include "files/FileService.h"

#include <utility>

namespace moorix {

void FileClipboard::set(Content content)
{
    m_content = std::move(content);
    emit changed();
}

bool FileClipboard::holdsCut(const QList<FileItem> &items) const
{
    return m_content && m_content->isCut && m_content->items == items;
}

void FileClipboard::clear()
{
    if (!m_content)
        return;
    m_content.reset();
    emit changed();
}

} // namespace moorix
