// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ZipArchive.h"

#include "backup/SealedFile.h"
#include "base/Error.h"
#include "files/LocalDisk.h"
#include "files/NativePath.h"

#include <zip.h>

#include <algorithm>
#include <cstring>

#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;

/// What the library reads an encrypted archive through.
struct ZipArchive::Content
{
    std::unique_ptr<SealedReader> reader;
    qint64 position = 0;
    zip_error_t error = {};

    static zip_int64_t answer(void *self, void *data, zip_uint64_t size, zip_source_cmd_t command)
    {
        return static_cast<Content *>(self)->answer(data, size, command);
    }

private:
    zip_int64_t answer(void *data, zip_uint64_t size, zip_source_cmd_t command)
    {
        switch (command) {
        case ZIP_SOURCE_SUPPORTS:
            return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                                  ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, ZIP_SOURCE_SEEK, ZIP_SOURCE_TELL,
                                                  -1);
        case ZIP_SOURCE_OPEN:
            position = 0;
            return 0;
        case ZIP_SOURCE_READ:
            return read(static_cast<char *>(data), qint64(size));
        case ZIP_SOURCE_STAT: {
            auto *const status = static_cast<zip_stat_t *>(data);
            zip_stat_init(status);
            status->valid = ZIP_STAT_SIZE;
            status->size = zip_uint64_t(reader->size());
            return sizeof(*status);
        }
        case ZIP_SOURCE_SEEK: {
            const zip_int64_t to = zip_source_seek_compute_offset(zip_uint64_t(position), zip_uint64_t(reader->size()),
                                                                  data, size, &error);
            position = to < 0 ? position : to;
            return to < 0 ? -1 : 0;
        }
        case ZIP_SOURCE_TELL:
            return position;
        case ZIP_SOURCE_ERROR:
            return zip_error_to_data(&error, data, size);
        case ZIP_SOURCE_CLOSE:
        case ZIP_SOURCE_FREE:
            return 0;
        default:
            zip_error_set(&error, ZIP_ER_OPNOTSUPP, 0);
            return -1;
        }
    }

    zip_int64_t read(char *to, qint64 size)
    {
        try {
            const QByteArray bytes = reader->read(position, size);
            std::memcpy(to, bytes.constData(), std::size_t(bytes.size()));
            position += bytes.size();
            return bytes.size();
        } catch (const Error &) {
            zip_error_set(&error, ZIP_ER_READ, EIO);
            return -1;
        }
    }
};

namespace {

/// The moment in the extra field that the zip tool writes; the entry's own date has steps of two seconds and no zone.
std::optional<QDateTime> exactDate(zip_t *archive, zip_uint64_t index)
{
    constexpr zip_uint16_t extendedTimestamp = 0x5455;
    constexpr int leastBytes = 5;
    zip_uint16_t size = 0;
    const zip_uint8_t *const field =
        zip_file_extra_field_get_by_id(archive, index, extendedTimestamp, 0, &size, ZIP_FL_CENTRAL);
    if (!field || size < leastBytes || (field[0] & 1) == 0)
        return std::nullopt;
    qint32 seconds = 0;
    for (int byte = 4; byte > 0; --byte)
        seconds = qint32(quint32(seconds) << 8 | field[byte]);
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

void readAttributes(zip_t *archive, zip_uint64_t index, ZipEntry &entry)
{
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0 || system != ZIP_OPSYS_UNIX)
        return;
    const unsigned mode = attributes >> 16;
    if (mode == 0)
        return;
    entry.mode = mode & 0777U;
    entry.isLink = S_ISLNK(mode);
    entry.isFolder |= S_ISDIR(mode);
}

} // namespace

ZipArchive::ZipArchive(const QString &path)
    : ZipArchive(path, path)
{
}

ZipArchive::ZipArchive(const QString &path, const QString &shownPath)
    : m_path(shownPath)
{
    LocalDisk::requireFile(path);
    int code = 0;
    m_zip = zip_open(LocalDisk::native(path).constData(), ZIP_RDONLY, &code);
    if (!m_zip) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const QString reason = QString::fromUtf8(zip_error_strerror(&error));
        zip_error_fini(&error);
        fail(reason);
    }
    readEntries();
}

ZipArchive::ZipArchive(std::unique_ptr<SealedReader> content, const QString &path)
    : m_path(path)
    , m_content(std::make_unique<Content>())
{
    m_content->reader = std::move(content);
    zip_error_init(&m_content->error);
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t *const source = zip_source_function_create(Content::answer, m_content.get(), &error);
    m_zip = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    const QString reason = m_zip ? QString() : QString::fromUtf8(zip_error_strerror(&error));
    if (source && !m_zip)
        zip_source_free(source);
    zip_error_fini(&error);
    if (!m_zip)
        fail(reason);
    readEntries();
}

ZipArchive::~ZipArchive()
{
    if (m_zip)
        zip_discard(m_zip);
}

void ZipArchive::fail(const QString &reason) const
{
    throw Error(u"Backup"_s, u"“%1” cannot be read as a zip archive: %2"_s.arg(m_path, reason));
}

void ZipArchive::readEntries()
{
    const zip_int64_t count = zip_get_num_entries(m_zip, 0);
    m_entries.reserve(count);
    for (zip_int64_t index = 0; index < count; ++index) {
        const auto number = zip_uint64_t(index);
        ZipEntry entry;
        // The zip tool writes the bytes of the file system and no word about their encoding.
        const QByteArrayView name(zip_get_name(m_zip, number, ZIP_FL_ENC_RAW));
        entry.isFolder = name.endsWith('/');
        entry.path = NativePath::text(entry.isFolder ? name.chopped(1) : name);
        zip_stat_t status;
        if (zip_stat_index(m_zip, number, 0, &status) == 0) {
            entry.size = (status.valid & ZIP_STAT_SIZE) != 0 ? qint64(status.size) : 0;
            if ((status.valid & ZIP_STAT_MTIME) != 0)
                entry.modified = QDateTime::fromSecsSinceEpoch(status.mtime, Qt::UTC);
        }
        if (const auto exact = exactDate(m_zip, number))
            entry.modified = exact;
        readAttributes(m_zip, number, entry);
        m_entries.append(entry);
    }
}

void ZipArchive::read(qsizetype index, const std::function<void(QByteArrayView)> &take,
                      const std::stop_token &stop) const
{
    constexpr qsizetype pieceBytes = 256 * 1024;
    const ZipEntry &entry = m_entries.at(index);
    const auto damaged = [&](const QString &reason) {
        throw Error(u"Backup"_s, u"“%1” in “%2” is damaged: %3"_s.arg(entry.path, m_path, reason));
    };
    const std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file(zip_fopen_index(m_zip, zip_uint64_t(index), 0),
                                                                  zip_fclose);
    if (!file)
        damaged(QString::fromUtf8(zip_strerror(m_zip)));
    QByteArray piece(pieceBytes, Qt::Uninitialized);
    qint64 done = 0;
    while (true) {
        LocalDisk::throwIfStopped(stop);
        const zip_int64_t count = zip_fread(file.get(), piece.data(), zip_uint64_t(piece.size()));
        if (count < 0)
            damaged(QString::fromUtf8(zip_file_strerror(file.get())));
        if (count == 0)
            break;
        done += count;
        if (done > entry.size)
            break;
        take(QByteArrayView(piece).first(count));
    }
    if (done != entry.size)
        damaged(u"it does not hold the %1 bytes it should."_s.arg(entry.size));
}

void ZipArchive::test(const std::function<void(qint64)> &progress, const std::stop_token &stop) const
{
    qint64 done = 0;
    for (qsizetype index = 0; index < m_entries.size(); ++index) {
        if (m_entries.at(index).isFolder)
            continue;
        read(
            index,
            [&](QByteArrayView bytes) {
                done += bytes.size();
                if (progress)
                    progress(done);
            },
            stop);
    }
}

} // namespace moorix
