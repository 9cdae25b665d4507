// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"

#include <QString>

#include <functional>
#include <stop_token>

namespace moorix {

/// An archive does not open: its passphrase is missing or wrong, which cannot be told from damage.
class PassphraseError final : public Error
{
public:
    using Error::Error;
};

/// Encrypted archives: "MRX1", a salt of 16 bytes, a nonce of 12, the AES-256-GCM ciphertext, a tag of 16 bytes; the
/// key is derived from the passphrase by HKDF with SHA-256. Needs a few megabytes of memory whatever the size.
/// Blocking; worker threads. All throw an Error of the domain "Backup", and Cancelled after a stop.
class ArchiveCipher final
{
public:
    /// The bytes that are done.
    using Progress = std::function<void(qint64 bytes)>;

    /// What one key and nonce may encrypt: 2^39 - 256 bits.
    static constexpr qint64 longestContentBytes = 68'719'476'704;
    static constexpr qint64 magicBytes = 4;
    static constexpr qint64 saltBytes = 16;
    static constexpr qint64 nonceBytes = 12;
    static constexpr qint64 tagBytes = 16;
    static constexpr qint64 headBytes = magicBytes + saltBytes + nonceBytes;
    static constexpr qint64 keyBytes = 32;

    explicit ArchiveCipher(const QString &passphrase);

    /// Throws what `seal` would throw for a content of this size.
    static void requireSealable(qint64 contentBytes);
    /// Writes the encrypted form of `plainPath` to `sealedPath`, which must not exist (0600). The message begins with
    /// "Encryption failed". Nothing is left behind then.
    void seal(const QString &plainPath, const QString &sealedPath, const Progress &progress,
              const std::stop_token &stop) const;
    /// Throws when the file is no encrypted archive, or passphrase and content do not fit.
    void verify(const QString &sealedPath, const Progress &progress, const std::stop_token &stop) const;
    /// Decrypts to `plainPath` (0600), which must not exist and only comes to be once the tag has been checked: until
    /// then the content lies in a part file beside it.
    void open(const QString &sealedPath, const QString &plainPath, const Progress &progress,
              const std::stop_token &stop) const;

    /// The key for one archive.
    QByteArray key(const QByteArray &salt) const;

private:
    QByteArray m_passphrase;
};

} // namespace moorix
