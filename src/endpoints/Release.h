// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QUrl>

#include <optional>

class QJsonObject;

namespace moorix {

/// A build that an update server offers.
struct Release
{
    QString version;
    std::optional<QString> build;
    /// http or https; https where the server itself was asked that way.
    QUrl downloadURL;
    /// A plain name: no folder, not hidden.
    QString fileName;
    std::optional<QString> notes;

    bool operator==(const Release &) const = default;

    /// Reads the answer of the server at `endpoint`; the keys are in docs/endpoints.md. Throws an Error of the domain
    /// "Moorix.Update" that says what is missing.
    static Release fromReply(const QByteArray &body, const QUrl &endpoint);
};

/// The first text that is not blank among those keys, trimmed; empty when there is none.
QString firstString(const QJsonObject &in, const QStringList &keys);

} // namespace moorix
