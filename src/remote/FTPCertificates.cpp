// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPCertificates.h"

#include "base/Json.h"
#include "base/JsonFile.h"
#include "platform/AppPaths.h"
#include "servers/ServerConnection.h"

#include <QCryptographicHash>
#include <QList>
#include <QLockFile>

#include <algorithm>
#include <mutex>
#include <tuple>

namespace moorix {

namespace {

const QByteArray keyPrefix("sha256//");

struct Certificate
{
    QString host;
    qint64 port = 0;
    QByteArray key;
    QDateTime firstSeen;
};

std::mutex documentMutex;

/// One at a time, in this program and in others: every change reads, changes and writes the whole document.
class Turn final
{
public:
    explicit Turn(const QString &document)
        : m_others(document + QStringLiteral(".lock"))
    {
        // One that holds it longer hangs.
        constexpr int longestWaitMilliseconds = 2000;
        std::ignore = m_others.tryLock(longestWaitMilliseconds);
    }

private:
    const std::lock_guard<std::mutex> m_ofThisProgram{documentMutex};
    QLockFile m_others;
};

QList<Certificate> decoded(const QByteArray &bytes)
{
    const JsonReader document = JsonReader::parse(bytes, QStringLiteral("the list of known certificates"));
    const QJsonArray array = document.requiredArray(QStringLiteral("certificates"));
    QList<Certificate> all;
    for (qsizetype i = 0; i < array.size(); ++i) {
        const JsonReader reader = document.element(array, i, QStringLiteral("certificate %1").arg(i + 1));
        Certificate certificate;
        certificate.host = reader.requiredString(QStringLiteral("host"));
        certificate.port = reader.requiredInteger(QStringLiteral("port"));
        certificate.key = reader.requiredString(QStringLiteral("publicKey")).toLatin1();
        certificate.firstSeen = reader.optionalDate(QStringLiteral("firstSeen")).value_or(QDateTime());
        if (!certificate.key.startsWith(keyPrefix))
            reader.fail(QStringLiteral("publicKey"), QStringLiteral("is no SHA-256 hash"));
        all.append(certificate);
    }
    return all;
}

QList<Certificate> load(const QString &path)
{
    const std::optional<QByteArray> bytes = jsonFile::read(path);
    if (!bytes)
        return {};
    try {
        return decoded(*bytes);
    } catch (const Error &) {
        QString aside = path;
        aside.insert(path.lastIndexOf(u'.'), QStringLiteral(".corrupt-") + dateText(QDateTime::currentDateTimeUtc()));
        jsonFile::setAside(path, aside);
        return {};
    }
}

void save(const QString &path, const QList<Certificate> &all)
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"certificates");
    writer.beginArray();
    for (const Certificate &certificate : all) {
        writer.beginObject();
        writer.field(u"host", certificate.host);
        writer.field(u"port", certificate.port);
        writer.field(u"publicKey", QString::fromLatin1(certificate.key));
        writer.field(u"firstSeen",
                     certificate.firstSeen.isValid() ? std::optional(certificate.firstSeen) : std::nullopt);
        writer.endObject();
    }
    writer.endArray();
    writer.endObject();
    jsonFile::write(path, writer.bytes());
}

bool isOf(const Certificate &certificate, const ServerConnection &server)
{
    return certificate.port == server.port && certificate.host.compare(server.host, Qt::CaseInsensitive) == 0;
}

/// Walks the elements of a DER encoding, no deeper than asked to.
class DerReader final
{
public:
    explicit DerReader(QByteArrayView bytes)
        : m_rest(bytes)
    {
    }

    struct Element
    {
        unsigned char tag = 0;
        QByteArrayView content;
        /// With tag and length.
        QByteArrayView whole;
    };

    /// The next element, whose tag is 0 when there is none that is well-formed.
    Element next()
    {
        const auto byte = [this](qsizetype at) { return static_cast<unsigned char>(m_rest[at]); };
        constexpr unsigned char isLong = 0x80;
        if (m_rest.size() < 2)
            return {};
        qsizetype header = 2;
        qsizetype length = byte(1);
        if (length & isLong) {
            const qsizetype digits = length & ~qsizetype(isLong);
            if (digits == 0 || digits > 4 || m_rest.size() < 2 + digits)
                return {};
            length = 0;
            for (qsizetype i = 0; i < digits; ++i)
                length = length * 256 + byte(2 + i);
            header += digits;
        }
        if (length > m_rest.size() - header)
            return {};
        const Element element{byte(0), m_rest.sliced(header, length), m_rest.first(header + length)};
        m_rest = m_rest.sliced(header + length);
        return element;
    }

private:
    QByteArrayView m_rest;
};

/// The part of a certificate that holds the public key with its kind.
QByteArrayView publicKeyInfo(const QByteArray &certificate)
{
    constexpr unsigned char sequence = 0x30;
    constexpr unsigned char version = 0xA0;
    DerReader outer(certificate);
    DerReader signedPart(outer.next().content);
    DerReader fields(signedPart.next().content);
    DerReader::Element field = fields.next();
    if (field.tag == version)
        field = fields.next();
    // The serial number is here; signature kind, issuer, validity and subject stand between it and the key.
    for (int skipped = 0; skipped < 5; ++skipped)
        field = fields.next();
    return field.tag == sequence ? field.whole : QByteArrayView();
}

} // namespace

FTPCertificates::FTPCertificates(QString documentPath)
    : m_path(std::move(documentPath))
{
}

FTPCertificates FTPCertificates::ofThisUser()
{
    return FTPCertificates(AppPaths::applicationSupport() + QStringLiteral("/ftp-certificates.json"));
}

std::optional<QByteArray> FTPCertificates::known(const ServerConnection &server) const
{
    const std::lock_guard lock(documentMutex);
    for (const Certificate &certificate : load(m_path)) {
        if (isOf(certificate, server))
            return certificate.key;
    }
    return std::nullopt;
}

void FTPCertificates::remember(const ServerConnection &server, const QByteArray &key) const
{
    const Turn turn(m_path);
    QList<Certificate> all = load(m_path);
    all.removeIf([&server](const Certificate &certificate) { return isOf(certificate, server); });
    all.append({server.host, server.port, key, QDateTime::currentDateTimeUtc()});
    save(m_path, all);
}

void FTPCertificates::forget(const ServerConnection &server) const
{
    const Turn turn(m_path);
    QList<Certificate> all = load(m_path);
    if (all.removeIf([&server](const Certificate &certificate) { return isOf(certificate, server); }) > 0)
        save(m_path, all);
}

std::optional<QByteArray> FTPCertificate::keyOf(const QByteArray &pem)
{
    const QByteArray begin("-----BEGIN CERTIFICATE-----");
    const qsizetype start = pem.indexOf(begin);
    const qsizetype end = pem.indexOf("-----END CERTIFICATE-----", start);
    if (start < 0 || end < 0)
        return std::nullopt;
    const QByteArray certificate =
        QByteArray::fromBase64(pem.mid(start + begin.size(), end - start - begin.size()).simplified());
    const QByteArrayView info = publicKeyInfo(certificate);
    if (info.isEmpty())
        return std::nullopt;
    return keyPrefix + QCryptographicHash::hash(info.toByteArray(), QCryptographicHash::Sha256).toBase64();
}

QString FTPCertificate::fingerprint(const QByteArray &key)
{
    return QStringLiteral("SHA256:") + QString::fromLatin1(key.mid(keyPrefix.size()));
}

} // namespace moorix
