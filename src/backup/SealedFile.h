// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "backup/ArchiveCipher.h"
#include "base/FileDescriptor.h"

#include <memory>

struct evp_cipher_ctx_st;

namespace moorix {

/// The parts of an encrypted archive that is read. One thread.
class SealedFile final
{
public:
    /// Throws an Error when the file cannot be read or is no encrypted archive.
    explicit SealedFile(const QString &path);

    const QString &path() const { return m_path; }
    const QByteArray &salt() const { return m_salt; }
    const QByteArray &nonce() const { return m_nonce; }
    const QByteArray &tag() const { return m_tag; }
    qint64 contentBytes() const { return m_contentBytes; }
    /// At most `size` bytes of the ciphertext from `offset` on; throws when fewer come than there should be.
    QByteArray read(qint64 offset, qint64 size) const;

private:
    QByteArray readExactly(qint64 position, qint64 size) const;

    QString m_path;
    FileDescriptor m_file;
    QByteArray m_salt;
    QByteArray m_nonce;
    QByteArray m_tag;
    qint64 m_contentBytes = 0;
};

/// Reads the content of an encrypted archive from any place, without writing it anywhere. Says nothing of whether it
/// is genuine: ArchiveCipher::verify comes first. One thread.
class SealedReader final
{
public:
    SealedReader(const QString &path, const ArchiveCipher &cipher);
    ~SealedReader();
    Q_DISABLE_COPY_MOVE(SealedReader)

    qint64 size() const { return m_file.contentBytes(); }
    QByteArray read(qint64 offset, qint64 size);

private:
    SealedFile m_file;
    QByteArray m_key;
    std::unique_ptr<evp_cipher_ctx_st, void (*)(evp_cipher_ctx_st *)> m_context;
};

} // namespace moorix
