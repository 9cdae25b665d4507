// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"
#include "transfers/TarPacker.h"
#include "transfers/TarReader.h"

#include <QHash>

namespace moorix {

/// Unpacks an archive on the local disk, but only what was planned: an entry counts by its path being one of
/// the plan's, of the same kind and size, so that no name in the archive ever becomes a path. One thread.
class TarUnpacker final
{
public:
    /// A file of the plan: what it is called in the archive, and where it goes, which must be free.
    struct File
    {
        TransferNode *node;
        QString relative;
        QString path;
    };

    explicit TarUnpacker(const std::vector<File> &files, std::function<void(qint64 bytes, qint64 files)> advanced);
    /// Makes the folder, which must not exist, and all planned folders in it.
    TarUnpacker(TransferNode &folder, const QString &target, std::function<void(qint64 bytes, qint64 files)> advanced);

    /// Throws an Error when the archive is damaged or cannot be stored.
    void feed(QByteArrayView bytes) { m_reader.feed(bytes); }
    bool isComplete() const { return m_reader.isComplete(); }
    /// Files and links that are there whole.
    const std::vector<TransferNode *> &unpacked() const { return m_unpacked; }
    /// Gives the folders their modes and times; they had to be open until everything was in them.
    void finishFolders() const;

private:
    struct Planned
    {
        TransferNode *node;
        QString path;
        bool isThere = false;
    };

    void begin(const TarEntry &entry);
    void write(QByteArrayView bytes);
    void end();

    std::function<void(qint64, qint64)> m_advanced;
    QHash<QByteArray, Planned> m_plan;
    std::vector<Planned> m_folders;
    TarReader m_reader;
    /// The file that is being written, and what its header says.
    FileDescriptor m_file;
    TarEntry m_entry;
    Planned *m_current = nullptr;
    std::vector<TransferNode *> m_unpacked;
    qint64 m_bytes = 0;
};

} // namespace moorix
