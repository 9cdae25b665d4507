// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <chrono>
#include <optional>

namespace moorix {

/// One copy or move as the user sees it.
struct TransferStatus
{
    enum class State {
        waiting,
        running,
        finished,
        failed,
        cancelled,
        paused,
        /// The link to a server broke, or is not up yet; it is tried again.
        reconnecting,
        /// Left over from an earlier run of the program; waits for the user.
        interrupted
    };

    QUuid id;
    State state = State::waiting;
    /// "Copying 3 items to /var/www".
    QString title;
    /// The file under way.
    QString currentName;
    qint64 bytesDone = 0;
    /// Grows while folders are walked, and is less by what is skipped.
    qint64 bytesTotal = 0;
    qint64 filesDone = 0;
    qint64 filesTotal = 0;
    /// Bytes per second over the last seconds.
    double bytesPerSecond = 0;
    qint64 skipped = 0;
    /// One sentence per item that failed.
    QStringList failures;
    /// The way taken and what else is worth knowing.
    QStringList notes = {};
    /// Why it waits, in the server's words.
    QString waitingFor = {};
    /// Something has not arrived that can be tried again by itself.
    bool hasRemaining = false;
    std::optional<QDateTime> ended = {};
    /// How long an ended one was under way, as TransferStopwatch counts. Nothing where part of that was in an earlier
    /// run of the program.
    std::optional<std::chrono::milliseconds> timeTaken = {};
    /// Bytes per second over that time; 0 when nothing can be said.
    double averageRate = 0;
};

/// Neither finished nor failed nor cancelled.
bool isOpen(TransferStatus::State state);

/// All open transfers together.
struct TransferTotals
{
    qint64 bytesDone = 0;
    qint64 bytesTotal = 0;
    qint64 filesDone = 0;
    qint64 filesTotal = 0;
    double bytesPerSecond = 0;
    qint64 transfers = 0;

    /// Nothing when nothing can be said.
    std::optional<qint64> secondsLeft() const;
};

} // namespace moorix
