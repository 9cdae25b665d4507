// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>
#include <QObject>

#include <memory>

namespace moorix {

class FileService;

/// Files cut or copied in a pane, until pasted. Main thread.
class FileClipboard final : public QObject
{
    Q_OBJECT

public:
    struct Content
    {
        std::shared_ptr<FileService> service;
        QList<FileItem> items;
        bool isCut = false;
    };

    const std::optional<Content> &content() const { return m_content; }
    /// Whether exactly these are cut.
    bool holdsCut(const QList<FileItem> &items) const;
    void set(Content content);
    void clear();

signals:
    void changed();

private:
    std::optional<Content> m_content;
};

} // namespace moorix
