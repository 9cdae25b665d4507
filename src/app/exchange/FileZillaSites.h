// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ExchangeContent.h"

/// The site manager's list of FileZilla, "sitemanager.xml". Any thread.
namespace moorix::fileZillaSites {

/// Whether the text begins like such a file.
bool isLikely(const QByteArray &bytes);

/// Servers get fresh ids. Sites of protocols that this program does not speak are left out and named in the notes.
/// Throws an Error when the text is no such list, is damaged, declares a document type, nests deeper than any program
/// writes it, or holds more sites than a library can.
ExchangeContent decode(const QByteArray &bytes, const QString &name);

} // namespace moorix::fileZillaSites
