// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"
#include "transfers/TarFormat.h"
#include "transfers/TransferPlan.h"

#include <QCryptographicHash>
#include <QStringList>

#include <functional>
#include <vector>

namespace moorix {

/// One entry of a tree by its path within it.
struct TreeEntry
{
    TransferNode *node;
    QString relative;
};

/// All that lies in a folder, folders before what is in them; not the folder itself.
std::vector<TreeEntry> entriesOf(TransferNode &folder);

/// Makes an archive of what was planned of a local folder, piece by piece. One thread.
class TarPacker final
{
public:
    /// A file that went into the archive.
    struct Packed
    {
        TransferNode *node;
        QString relative;
        qint64 size = 0;
        /// SHA-256; empty for links and folders.
        QByteArray sum;
    };

    /// `advanced` is told of the bytes and files packed so far.
    TarPacker(TransferNode &folder, std::function<void(qint64 bytes, qint64 files)> advanced);

    /// The next piece, empty at the end. Files that cannot be read are left out; one that gets shorter while it is read
    /// throws, as its size was told already.
    QByteArray next();
    const std::vector<Packed> &packed() const { return m_packed; }

private:
    QByteArray begin(const TreeEntry &entry);
    QByteArray beginFile(const TreeEntry &entry);
    QByteArray continueFile();

    std::vector<TreeEntry> m_entries;
    std::size_t m_next = 0;
    std::function<void(qint64, qint64)> m_advanced;
    FileDescriptor m_file;
    qint64 m_fileLeft = 0;
    QCryptographicHash m_sum{QCryptographicHash::Sha256};
    std::vector<Packed> m_packed;
    qint64 m_bytes = 0;
    qint64 m_files = 0;
    bool m_hasEnded = false;
};

} // namespace moorix
