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

void FileClipboard::clear()
{
    if (!m_content)
        return;
    m_content.reset();
    emit changed();
}

} // namespace moorix
