// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <QList>
#include <QMimeData>

#include <memory>

class QUrl;

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

    /// Tells the other programs that read it from the clipboard whether a paste is to move the files.
    void noteWhetherCut(bool isCut);

    /// The types a file list takes.
    static QStringList acceptedTypes();
    /// Whether another program's data has URLs of local files among others; costs little also where there are many.
    static bool hasLocalPaths(const QMimeData &data);
    /// Local paths among the URLs of another program's data, byte by byte.
    static QStringList localPaths(const QMimeData &data);
    /// Whether another program has put its files on the clipboard to be moved.
    static bool isCut(const QMimeData &data);
    /// Whether it was made here. On a clipboard that has changed hands but not its contents, as by the programs that
    /// keep its history, that is told by its type.
    static bool isOurs(const QMimeData &data);
    /// Unlike QUrl's own also for names that are no UTF-8.
    static QUrl url(const QString &path);

private:
    std::shared_ptr<FileService> m_service;
    QList<FileItem> m_items;
};

} // namespace moorix
