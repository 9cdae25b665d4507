// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferOutcome.h"

#include <QElapsedTimer>
#include <QHash>
#include <QSet>

#include <functional>
#include <mutex>

namespace moorix {

/// Counts what all lanes of one transfer do, and tells it about ten times a second. Thread-safe.
class TransferTally final
{
public:
    using Report = std::function<void(const TransferCounts &)>;

    explicit TransferTally(Report report);

    /// The bytes of a file on its way, taken back unless it arrives.
    class File final
    {
    public:
        File(TransferTally &tally, const QString &name);
        ~File();
        Q_DISABLE_COPY_MOVE(File)

        /// So many of its bytes have arrived, and of a folder so many files.
        void moveTo(qint64 bytes, qint64 files = 0);
        /// So many of its bytes are there from an earlier run.
        void find(qint64 bytes);
        /// It is there as a whole.
        void arrive(qint64 size, qint64 files = 1);
        qint64 bytes() const { return m_bytes; }

    private:
        TransferTally &m_tally;
        QString m_name;
        qint64 m_bytes = 0;
        qint64 m_files = 0;
        qint64 m_found = 0;
    };

    void addTotal(qint64 files, qint64 bytes);
    /// Without having travelled.
    void addFound(qint64 files, qint64 bytes);
    /// They are no longer among what there is to do.
    void addSkipped(qint64 files, qint64 bytes);
    void fail(const QString &sentence);
    void noteChanged(const QString &targetFolder);
    void note(const QString &text);
    /// So many more of a kind that is told as a number: "1 file was resumed", "%1 files were resumed". An empty `one`
    /// keeps silent about a single one.
    void noteMore(qint64 count, const QString &one, const QString &several);
    /// Somebody waits for a lost link; an empty text means that it is back.
    void waitFor(const QString &lostLink);
    void publish(bool always = false);
    /// What came too soon after what was told before it, if that was the last.
    void publishRest();

    qint64 filesTotal() const;
    /// Counts, failures, notes and changed target folders.
    TransferOutcome outcome() const;

private:
    void change(const std::function<void(TransferCounts &)> &change);

    Report m_report;
    mutable std::mutex m_mutex;
    TransferOutcome m_outcome;
    QSet<QString> m_changedFolders;
    QHash<QString, std::pair<QString, qint64>> m_numbers;
    QElapsedTimer m_sincePublished;
    bool m_isUntold = false;
};

} // namespace moorix
