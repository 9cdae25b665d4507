// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct CurlTransfer;
struct FTPLogin;
struct FTPReply;

/// The sentences users read when something fails on an FTP server: what happened, what to do, and beneath, after a line
/// break, the server's own words, or curl's where the server said nothing.
namespace FTPFailureText {

/// Throws connectionFailed or authFailed when the connection or the login is what failed, rather than what was asked of
/// the server.
void throwIfConnectionFailed(const FTPLogin &login, const CurlTransfer &transfer);

/// Why something failed on a live connection. `action` begins the sentence ("“/a” could not be read").
QString operation(const QString &action, const CurlTransfer &transfer);

/// Whether the server has turned the login away because there are too many already.
bool saysTooMany(const CurlTransfer &transfer);

/// Whether the server says that what a command was to act on is not there.
bool saysMissing(const FTPReply &reply);

} // namespace FTPFailureText

} // namespace moorix
