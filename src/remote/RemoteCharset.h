// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace moorix {

/// The character set in which a server writes names. No name is lost: bytes that are none of its characters become
/// lone surrogates U+DC80 to U+DCFF, one for each, and exactly these bytes again on the way back. Any thread.
class RemoteCharset final
{
public:
    /// Throws connectionFailed for a set this machine does not know, and for one that does not write "/" and plain
    /// letters as ASCII does.
    explicit RemoteCharset(const QString &name);

    const QString &name() const { return m_name; }
    QString decode(QByteArrayView bytes) const;
    /// Nothing when the set has no such character.
    std::optional<QByteArray> encode(const QString &text) const;

private:
    QString m_name;
    /// Nothing for UTF-8.
    std::optional<QByteArray> m_converterName;
};

} // namespace moorix
