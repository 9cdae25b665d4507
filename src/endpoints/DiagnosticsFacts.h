// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

struct DiagnosticsApp;

/// What a check-in tells about the program and its machine, at one moment.
struct DiagnosticsFacts
{
    QString deviceId;
    /// "0.1.0 (1)"
    QString appVersion;
    QString host;
    /// "Debian GNU/Linux 12 (bookworm)"
    QString system;
    /// Of the machine; empty where it does not tell.
    QString model;
    int cores = 0;
    qint64 memoryBytes = 0;
    qint64 uptimeSeconds = 0;
    /// What the program itself has in memory.
    qint64 ownMemoryBytes = 0;
    qsizetype sessions = 0;
    qsizetype savedServers = 0;
    qsizetype activeConnections = 0;
    bool isEnabled = false;

    /// Reads the machine, and the program through `app`; the identity, version and switch are the caller's. Main
    /// thread; reads a few files of the kernel, which never wait.
    static DiagnosticsFacts read(const DiagnosticsApp &app);

    /// The JSON object that is sent, to the byte.
    QByteArray buildPayload() const;
    /// The text of the action of that name.
    QString systemSnapshot() const;
};

} // namespace moorix
