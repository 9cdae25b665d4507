// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QHash>
#include <QStringList>

#include <optional>
#include <stop_token>

namespace moorix {

class FileService;

/// What files hold, told apart by SHA-256. Blocking; worker threads.
namespace transferChecksums {

/// The checksum of each file that can be read; nothing where the service cannot compute them. A server is asked once
/// for all of them.
std::optional<QHash<QString, QByteArray>> of(FileService &service, const QStringList &paths,
                                             const std::stop_token &stop);
/// Whether both hold the same. A file that could not be read is the same as none.
bool areSame(const QHash<QString, QByteArray> &originals, const QString &original,
             const QHash<QString, QByteArray> &copies, const QString &copy);

} // namespace transferChecksums

} // namespace moorix
