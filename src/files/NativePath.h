// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Local file names as text and back, without loss. A name on disk is any bytes: what is no UTF-8 is kept as lone
/// surrogates U+DC80 to U+DCFF, one for each such byte, so that every entry can be shown and addressed. Any thread.
namespace moorix::NativePath {

QString text(QByteArrayView bytes);
/// The exact bytes `text` was made from. A lone surrogate of another range, which no name gives, becomes U+FFFD.
QByteArray bytes(const QString &text);
/// Whether all bytes of the name are UTF-8, so that Qt's own file classes can address it.
bool isUnicode(const QString &text);

} // namespace moorix::NativePath
