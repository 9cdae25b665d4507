// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>
#include <QMimeData>

#include <memory>

namespace moorix {

class FileService;

/// Entries of a pane under way to another place: within the program with their service, for other programs as a list
/// of URLs when they are on the local disk.
class FileMimeData final : public QMimeData
{
    Q_OBJECT

public:
    FileMimeData(std::shared_ptr<FileService> service, QList<FileItem> items, bool isLocal);

    const std::shared_ptr<FileService> &service() const { return m_service; }
    const QList<FileItem> &items() const { return m_items; }

    /// The types a file list takes.
    static QStringList acceptedTypes();
    /// Local paths among the URLs of another program's data.
    static QStringList localPaths(const QMimeData &data);

private:
    std::shared_ptr<FileService> m_service;
    QList<FileItem> m_items;
};

} // namespace moorix
