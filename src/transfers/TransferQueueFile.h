// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferPlaces.h"
#include "transfers/TransferRequest.h"

#include <QStringList>

#include <chrono>
#include <mutex>

namespace moorix {

/// A transfer as it outlives the program: without the services, which are opened again by their servers' ids.
struct StoredTransfer
{
    TransferPlaces::Server source;
    TransferPlaces::Server destination;
    /// All that was asked for.
    TransferRequest request;
    /// What is left of it after a failed try.
    QList<TransferPiece> remaining;
    QStringList failures;
    /// When that try ended.
    std::optional<QDateTime> ended = {};
    /// How long it was under way, and how fast it was; see TransferStatus.
    std::optional<std::chrono::milliseconds> timeTaken = {};
    double averageRate = 0;
    /// Files may have arrived already, whole or in part.
    bool hasStarted = false;
};

/// The transfers that have not come to their end, in one document. Any thread.
class TransferQueueFile final
{
public:
    struct Content
    {
        QList<StoredTransfer> transfers = {};
        /// That the document could not be decoded and was set aside; empty otherwise.
        QString problem = {};
    };

    explicit TransferQueueFile(QString path);

    /// What the document holds. Takes its time where there are many items. Throws an Error when it can neither be
    /// decoded nor set aside: it must not be replaced then.
    Content load();
    /// Replaces the document, unless a state of a higher number has done so. Takes its time where there are many items.
    /// Throws an Error when it cannot be written.
    void save(const QList<StoredTransfer> &transfers, qint64 number);

private:
    Content decoded() const;

    QString m_path;
    std::mutex m_mutex;
    QByteArray m_saved;
    qint64 m_number = 0;
};

} // namespace moorix
