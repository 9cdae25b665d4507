// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ArchiveCipher.h"

#include "backup/SealedFile.h"
#include "base/Error.h"
#include "base/FileDescriptor.h"
#include "files/LocalCopy.h"
#include "files/LocalDisk.h"
#include "transfers/LocalTransfer.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Larger pieces are no faster.
constexpr qint64 pieceBytes = qint64(1) << 20;

using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

const unsigned char *bytesOf(const QByteArray &bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.constData());
}

[[noreturn]] void failSealing(const QString &reason = {})
{
    throw Error(u"Backup"_s, reason.isEmpty() ? u"Encryption failed"_s : u"Encryption failed: "_s + reason);
}

QByteArray randomBytes(qint64 count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    if (RAND_bytes(reinterpret_cast<unsigned char *>(bytes.data()), int(count)) != 1)
        failSealing();
    return bytes;
}

/// A key that does not outlive its use.
class Key final
{
public:
    explicit Key(QByteArray bytes)
        : m_bytes(std::move(bytes))
    {
    }
    Q_DISABLE_COPY_MOVE(Key)
    ~Key() { OPENSSL_cleanse(m_bytes.data(), std::size_t(m_bytes.size())); }

    const unsigned char *data() const { return bytesOf(m_bytes); }

private:
    QByteArray m_bytes;
};

/// A file of 0600 that is gone again unless it is kept.
class NewFile final
{
public:
    explicit NewFile(const QString &path)
        : m_path(LocalDisk::native(path))
        , m_file(::open(m_path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600))
        , m_errorNumber(m_file.isOpen() ? 0 : errno)
    {
    }
    Q_DISABLE_COPY_MOVE(NewFile)
    ~NewFile()
    {
        if (m_isOurs && !m_isKept)
            ::unlink(m_path.constData());
    }

    /// 0, or why it could not be made or written.
    int errorNumber() const { return m_errorNumber; }
    void write(const char *bytes, qint64 count)
    {
        if (m_errorNumber != 0)
            return;
        m_errorNumber = LocalDisk::writeAll(m_file.value(), bytes, count);
        m_written += count;
        // The disk works meanwhile; otherwise all of it would be waited for at the end.
        if (m_written - m_begun >= begunAtOnceBytes) {
            ::sync_file_range(m_file.value(), m_begun, m_written - m_begun, SYNC_FILE_RANGE_WRITE);
            m_begun = m_written;
        }
    }
    void write(const QByteArray &bytes) { write(bytes.constData(), bytes.size()); }
    /// On the disk, and it stays.
    void keep()
    {
        if (m_errorNumber == 0 && ::fsync(m_file.value()) != 0)
            m_errorNumber = errno;
        if (m_file.close() != 0 && m_errorNumber == 0)
            m_errorNumber = errno;
        m_isKept = m_errorNumber == 0;
    }

private:
    QByteArray m_path;
    FileDescriptor m_file;
    int m_errorNumber;
    static constexpr qint64 begunAtOnceBytes = qint64(8) << 20;
    qint64 m_written = 0;
    qint64 m_begun = 0;
    /// Something else may stand at the path, which is then left alone.
    bool m_isOurs = m_file.isOpen();
    bool m_isKept = false;
};

/// Gives the decrypted content, piece by piece, to `take`; throws at the end unless the tag fits.
void decrypt(const SealedFile &file, const Key &key, const std::function<void(const char *, qint64)> &take,
             const ArchiveCipher::Progress &progress, const std::stop_token &stop)
{
    const Context context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    if (EVP_DecryptInit_ex2(context.get(), EVP_aes_256_gcm(), key.data(), bytesOf(file.nonce()), nullptr) != 1)
        throw Error(u"Backup"_s, u"“%1” could not be decrypted."_s.arg(file.path()));
    int count = 0;
    for (qint64 done = 0; done < file.contentBytes();) {
        LocalDisk::throwIfStopped(stop);
        QByteArray piece = file.read(done, pieceBytes);
        auto *const data = reinterpret_cast<unsigned char *>(piece.data());
        if (EVP_DecryptUpdate(context.get(), data, &count, data, int(piece.size())) != 1)
            throw Error(u"Backup"_s, u"“%1” could not be decrypted."_s.arg(file.path()));
        take(piece.constData(), piece.size());
        done += piece.size();
        if (progress)
            progress(done);
    }
    QByteArray tag = file.tag();
    unsigned char rest = 0;
    EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, int(tag.size()), tag.data());
    if (EVP_DecryptFinal_ex(context.get(), &rest, &count) != 1) {
        throw PassphraseError(
            u"Backup"_s,
            u"“%1” could not be decrypted: the passphrase is wrong, or the file is damaged."_s.arg(file.path()));
    }
}

} // namespace

ArchiveCipher::ArchiveCipher(const QString &passphrase)
    : m_passphrase(passphrase.toUtf8())
{
}

QByteArray ArchiveCipher::key(const QByteArray &salt) const
{
    QByteArray key(keyBytes, Qt::Uninitialized);
    const std::unique_ptr<EVP_KDF, decltype(&EVP_KDF_free)> kdf(EVP_KDF_fetch(nullptr, "HKDF", nullptr), EVP_KDF_free);
    const std::unique_ptr<EVP_KDF_CTX, decltype(&EVP_KDF_CTX_free)> context(EVP_KDF_CTX_new(kdf.get()),
                                                                            EVP_KDF_CTX_free);
    char digest[] = "SHA256";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
        OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_KEY, const_cast<char *>(m_passphrase.constData()),
                                          std::size_t(m_passphrase.size())),
        OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_SALT, const_cast<char *>(salt.constData()),
                                          std::size_t(salt.size())),
        OSSL_PARAM_construct_end()};
    if (!context || EVP_KDF_derive(context.get(), reinterpret_cast<unsigned char *>(key.data()),
                                   std::size_t(key.size()), parameters) != 1)
        throw Error(u"Backup"_s, u"No key could be derived from the passphrase."_s);
    return key;
}

void ArchiveCipher::requireSealable(qint64 contentBytes)
{
    if (contentBytes > longestContentBytes) {
        failSealing(u"the archive holds %1 bytes, and an encrypted one can hold %2 at most. Divide the sources among "
                    "several backups, or leave the archive unencrypted."_s.arg(contentBytes)
                        .arg(longestContentBytes));
    }
}

void ArchiveCipher::seal(const QString &plainPath, const QString &sealedPath, const Progress &progress,
                         const std::stop_token &stop) const
{
    const FileDescriptor plain(::open(LocalDisk::native(plainPath).constData(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!plain.isOpen() || ::fstat(plain.value(), &status) != 0)
        failSealing(u"“%1” could not be read: %2"_s.arg(plainPath, systemErrorText(errno)));
    requireSealable(status.st_size);
    ::posix_fadvise(plain.value(), 0, 0, POSIX_FADV_SEQUENTIAL);

    const QByteArray salt = randomBytes(saltBytes);
    const QByteArray nonce = randomBytes(nonceBytes);
    const Key key(this->key(salt));
    const Context context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    if (EVP_EncryptInit_ex2(context.get(), EVP_aes_256_gcm(), key.data(), bytesOf(nonce), nullptr) != 1)
        failSealing();

    NewFile sealed(sealedPath);
    sealed.write("MRX1" + salt + nonce);
    QByteArray piece(pieceBytes, Qt::Uninitialized);
    auto *const data = reinterpret_cast<unsigned char *>(piece.data());
    int count = 0;
    for (qint64 done = 0; sealed.errorNumber() == 0;) {
        LocalDisk::throwIfStopped(stop);
        const ssize_t size = ::read(plain.value(), piece.data(), std::size_t(pieceBytes));
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            failSealing(u"“%1” could not be read: %2"_s.arg(plainPath, systemErrorText(errno)));
        if (size == 0)
            break;
        done += size;
        requireSealable(done);
        if (EVP_EncryptUpdate(context.get(), data, &count, data, int(size)) != 1)
            failSealing();
        sealed.write(piece.constData(), size);
        if (progress)
            progress(done);
    }
    QByteArray tag(tagBytes, Qt::Uninitialized);
    if (EVP_EncryptFinal_ex(context.get(), data, &count) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, int(tagBytes), tag.data()) != 1)
        failSealing();
    sealed.write(tag);
    sealed.keep();
    if (sealed.errorNumber() != 0)
        failSealing(u"“%1” could not be written: %2"_s.arg(sealedPath, systemErrorText(sealed.errorNumber())));
}

void ArchiveCipher::verify(const QString &sealedPath, const Progress &progress, const std::stop_token &stop) const
{
    const SealedFile file(sealedPath);
    decrypt(
        file, Key(key(file.salt())), [](const char *, qint64) {}, progress, stop);
}

void ArchiveCipher::open(const QString &sealedPath, const QString &plainPath, const Progress &progress,
                         const std::stop_token &stop) const
{
    const SealedFile file(sealedPath);
    if (LocalDisk::statusOf(plainPath))
        throw Error(u"Backup"_s, u"“%1” exists already; nothing was decrypted."_s.arg(plainPath));
    const QString partPath = LocalDisk::partPath(plainPath);
    NewFile part(partPath);
    const auto throwIfFailed = [&] {
        if (part.errorNumber() != 0)
            throw Error(u"Backup"_s,
                        u"“%1” could not be written: %2"_s.arg(plainPath, systemErrorText(part.errorNumber())));
    };
    throwIfFailed();
    const auto write = [&](const char *bytes, qint64 size) {
        part.write(bytes, size);
        throwIfFailed();
    };
    decrypt(file, Key(key(file.salt())), write, progress, stop);
    part.keep();
    throwIfFailed();
    const int errorNumber =
        LocalDisk::renameWithoutReplacing(LocalDisk::native(partPath), LocalDisk::native(plainPath));
    if (errorNumber != 0) {
        ::unlink(LocalDisk::native(partPath).constData());
        throw Error(u"Backup"_s, u"“%1” could not be written: %2"_s.arg(plainPath, systemErrorText(errorNumber)));
    }
}

} // namespace moorix
