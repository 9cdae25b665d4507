// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace moorix {

/// What a second start of the program hands over to the window that is open.
struct OpenRequest
{
    /// Absolute local paths, and SERVER:PATH.
    QStringList targets;
    /// By which the desktop lets the window come to the front; empty where it gave none.
    QString activationToken;

    bool operator==(const OpenRequest &) const = default;
};

/// The words between the two: one line of JSON each way.
namespace instanceMessage {

/// Longer ones are refused by both sides.
inline constexpr qsizetype longestBytes = 256 * 1024;

QByteArray encode(const OpenRequest &request);
/// Nothing when the text is no request of this version.
std::optional<OpenRequest> decode(const QByteArray &line);

QByteArray answer(bool isAccepted);
/// Nothing when the text is no answer.
std::optional<bool> decodeAnswer(const QByteArray &line);

} // namespace instanceMessage

} // namespace moorix
