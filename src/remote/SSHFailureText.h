// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace moorix {

struct ServerConnection;

/// The sentences users read when a client fails: what happened, what to do, and beneath, after a line break, the
/// client's own words.
namespace SSHFailureText {

/// For a client that ended with another code than 0. `standardError` is all it said; when that is nothing known, its
/// words alone are returned, trimmed; empty when it said nothing.
QString connection(const ServerConnection &server, const QByteArray &standardError);

/// For a command that failed on a live connection. `action` begins the sentence ("“/a” could not be deleted").
QString operation(const QString &action, const QString &reason, const QString &clientWords);

/// The first lines of many, and how many more there are: a command on a whole tree may have one for each entry.
QString shortened(const QString &lines);

} // namespace SSHFailureText

} // namespace moorix
