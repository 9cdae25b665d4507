// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace moorix {

/// The text of a file.
struct DecodedText
{
    QString text;
    /// "UTF-8", "UTF-8 with a mark", "UTF-16", "Latin-1".
    QString encoding;
};

/// Reads what begins with the mark of an encoding by that, and other bytes as UTF-8 or, where they are none, as
/// Latin-1, which any bytes are. Nothing for bytes that are no text: those with a zero byte, or not of their own mark's
/// encoding.
std::optional<DecodedText> decodedText(const QByteArray &bytes);

} // namespace moorix
