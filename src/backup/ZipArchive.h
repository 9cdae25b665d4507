// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

struct zip;

namespace moorix {

class SealedReader;

/// One entry of a zip archive.
struct ZipEntry
{
    /// As it stands in the archive, without a slash at the end. Any text: never a path to follow unchecked.
    QString path;
    bool isFolder = false;
    bool isLink = false;
    qint64 size = 0;
    std::optional<QDateTime> modified;
    /// The lowest nine permission bits; nothing when the archive tells none.
    std::optional<unsigned> mode;

    bool operator==(const ZipEntry &) const = default;
};

/// A zip archive that is read. Blocking; one thread at a time. All throw an Error of the domain "Backup".
class ZipArchive final
{
public:
    explicit ZipArchive(const QString &path);
    /// `shownPath` is for messages.
    ZipArchive(const QString &path, const QString &shownPath);
    /// The content of an encrypted archive; `path` is for messages.
    ZipArchive(std::unique_ptr<SealedReader> content, const QString &path);
    ~ZipArchive();
    Q_DISABLE_COPY_MOVE(ZipArchive)

    const QList<ZipEntry> &entries() const { return m_entries; }
    /// Gives the content of the entry at `index` to `take`. Throws when it is damaged, holds another number of bytes
    /// than it should, or cannot be read, and Cancelled after a stop.
    void read(qsizetype index, const std::function<void(QByteArrayView)> &take, const std::stop_token &stop) const;
    /// Reads everything. `progress` gets the bytes of the entries read so far.
    void test(const std::function<void(qint64 bytes)> &progress, const std::stop_token &stop) const;

private:
    void readEntries();
    [[noreturn]] void fail(const QString &reason) const;

    struct Content;
    QString m_path;
    std::unique_ptr<Content> m_content;
    zip *m_zip = nullptr;
    QList<ZipEntry> m_entries;
};

} // namespace moorix
