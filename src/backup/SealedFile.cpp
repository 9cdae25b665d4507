// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/SealedFile.h"

#include "base/Error.h"
#include "files/LocalDisk.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void fail(const QString &path, const QString &sentence)
{
    throw Error(u"Backup"_s, u"“%1” %2"_s.arg(path, sentence));
}

/// The counter that GCM uses for the block `number` of its content: the first block is the tag's, and they count
/// from 1.
QByteArray counterFor(const QByteArray &nonce, quint32 number)
{
    constexpr quint32 firstCounter = 2;
    const quint32 counter = firstCounter + number;
    QByteArray block = nonce;
    for (int shift = 24; shift >= 0; shift -= 8)
        block += char(counter >> shift);
    return block;
}

} // namespace

SealedFile::SealedFile(const QString &path)
    : m_path(path)
{
    LocalDisk::requireFile(path);
    m_file = FileDescriptor(::open(LocalDisk::native(path).constData(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!m_file.isOpen() || ::fstat(m_file.value(), &status) != 0)
        fail(path, u"could not be read: %1"_s.arg(systemErrorText(errno)));
    m_contentBytes = status.st_size - ArchiveCipher::headBytes - ArchiveCipher::tagBytes;
    if (status.st_size < ArchiveCipher::magicBytes || readExactly(0, ArchiveCipher::magicBytes) != "MRX1")
        fail(path, u"is no encrypted archive: it does not begin with “MRX1”."_s);
    if (m_contentBytes < 0)
        fail(path, u"is not a whole encrypted archive: it holds %1 bytes only."_s.arg(status.st_size));
    if (m_contentBytes > ArchiveCipher::longestContentBytes)
        fail(path, u"is larger than any encrypted archive can be."_s);
    m_salt = readExactly(ArchiveCipher::magicBytes, ArchiveCipher::saltBytes);
    m_nonce = readExactly(ArchiveCipher::magicBytes + ArchiveCipher::saltBytes, ArchiveCipher::nonceBytes);
    m_tag = readExactly(ArchiveCipher::headBytes + m_contentBytes, ArchiveCipher::tagBytes);
    ::posix_fadvise(m_file.value(), 0, 0, POSIX_FADV_SEQUENTIAL);
}

QByteArray SealedFile::read(qint64 offset, qint64 size) const
{
    return readExactly(ArchiveCipher::headBytes + offset, std::clamp<qint64>(m_contentBytes - offset, 0, size));
}

QByteArray SealedFile::readExactly(qint64 position, qint64 size) const
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qint64 done = 0; done < size;) {
        const ssize_t count = ::pread(m_file.value(), bytes.data() + done, std::size_t(size - done), position + done);
        if (count < 0 && errno != EINTR)
            fail(m_path, u"could not be read: %1"_s.arg(systemErrorText(errno)));
        if (count == 0)
            fail(m_path, u"has become shorter while it was read."_s);
        done += std::max<ssize_t>(count, 0);
    }
    return bytes;
}

SealedReader::SealedReader(const QString &path, const ArchiveCipher &cipher)
    : m_file(path)
    , m_key(cipher.key(m_file.salt()))
    , m_context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free)
{
}

SealedReader::~SealedReader()
{
    OPENSSL_cleanse(m_key.data(), std::size_t(m_key.size()));
}

QByteArray SealedReader::read(qint64 offset, qint64 size)
{
    constexpr qint64 blockBytes = 16;
    const qint64 skipped = offset % blockBytes;
    QByteArray bytes = m_file.read(offset - skipped, size + skipped);
    const QByteArray counter = counterFor(m_file.nonce(), quint32(offset / blockBytes));
    auto *const data = reinterpret_cast<unsigned char *>(bytes.data());
    int count = 0;
    if (EVP_DecryptInit_ex2(m_context.get(), EVP_aes_256_ctr(),
                            reinterpret_cast<const unsigned char *>(m_key.constData()),
                            reinterpret_cast<const unsigned char *>(counter.constData()), nullptr) != 1 ||
        EVP_DecryptUpdate(m_context.get(), data, &count, data, int(bytes.size())) != 1)
        fail(m_file.path(), u"could not be decrypted."_s);
    return bytes.mid(skipped);
}

} // namespace moorix
