// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Paths inside the commands of the two clients. Everything that cannot be sent exactly is refused with a
/// FileServiceError::operationFailed that says why, before any process starts.
namespace moorix::SFTPQuoting {

/// Refuses a path with any character below U+0020.
void rejectControlCharacters(const QString &path);

/// A path in a batch line of `sftp`, with its quotes. All commands but `ls`.
QString sftpPath(const QString &path);

/// The same for `ls`, which would expand braces.
QString sftpListPath(const QString &path);

/// A path in a command line that `ssh` hands to the account's shell, with its quotes: exactly these characters in sh,
/// bash, zsh, fish and tcsh.
QString shellPath(const QString &path);

/// Refuses a batch line of more than 2046 UTF-8 bytes: the client runs what goes beyond as a command of its own.
void rejectLongLine(const QString &line);

} // namespace moorix::SFTPQuoting
