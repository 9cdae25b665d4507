// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <stop_token>

namespace moorix {

/// What a job's sources hold, looked at before anything is written. Blocking; worker threads.
struct BackupSources
{
    /// Whether a link counts as what it leads to, as the zip tool has it, or as itself.
    enum class Links { followed, kept };

    qint64 bytes = 0;
    qint64 entries = 0;
    /// What no archive takes: links that lead nowhere, fifos, sockets, devices. A few of them, and how many.
    QStringList leftOut;
    qint64 leftOutCount = 0;

    /// Throws an Error that names the source that is missing or the entry that cannot be read, and the link that leads
    /// back to a folder above it, which the zip tool would follow again and again.
    static BackupSources survey(const QStringList &paths, Links links, const std::stop_token &stop);

    /// Where a source lies that may be a link itself; the source where that cannot be told.
    static QString ownPath(const QString &source);

    /// One sentence on what is left out; nothing when it is nothing.
    QString note() const;
};

} // namespace moorix
