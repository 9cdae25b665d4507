// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace moorix {

struct ServerConnection;

/// The keys that FTP servers have shown on first contact, by host and port, in one document of the user's data folder.
/// Every call reads the document anew, as another copy of the program may have changed it. Blocking; any thread.
class FTPCertificates final
{
public:
    explicit FTPCertificates(QString documentPath);
    /// Those of this user.
    static FTPCertificates ofThisUser();

    /// The key expected of the server, in curl's form "sha256//BASE64"; nothing before the first contact. Throws an
    /// Error when the document cannot be read; one that cannot be decoded is set aside, and nothing is known then.
    std::optional<QByteArray> known(const ServerConnection &server) const;
    void remember(const ServerConnection &server, const QByteArray &key) const;
    /// The next contact counts as the first one again.
    void forget(const ServerConnection &server) const;

private:
    QString m_path;
};

namespace FTPCertificate {

/// The key of the first certificate in `pem`, as the hash of its public key, "sha256//BASE64"; nothing when there is
/// none that can be read.
std::optional<QByteArray> keyOf(const QByteArray &pem);

/// The same hash as people compare it: "SHA256:BASE64".
QString fingerprint(const QByteArray &key);

} // namespace FTPCertificate

} // namespace moorix
