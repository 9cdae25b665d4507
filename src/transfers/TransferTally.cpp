// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TransferTally.h"

#include <algorithm>
#include <utility>

namespace moorix {

TransferTally::TransferTally(Report report)
    : m_report(std::move(report))
{
}

TransferTally::File::File(TransferTally &tally, const QString &name)
    : m_tally(tally)
    , m_name(name)
{
    tally.change([&name](TransferCounts &counts) { counts.currentName = name; });
}

TransferTally::File::~File()
{
    moveTo(0);
}

void TransferTally::File::moveTo(qint64 bytes, qint64 files)
{
    const qint64 newBytes = bytes - std::exchange(m_bytes, bytes);
    const qint64 newFiles = files - std::exchange(m_files, files);
    const qint64 lostBytes = std::max<qint64>(0, m_found - bytes);
    if (newBytes == 0 && newFiles == 0)
        return;
    m_found -= lostBytes;
    m_tally.change([this, newBytes, newFiles, lostBytes](TransferCounts &counts) {
        if (newBytes > 0)
            counts.currentName = m_name;
        counts.bytesDone += newBytes;
        counts.bytesFound -= lostBytes;
        counts.filesDone += newFiles;
    });
}

void TransferTally::File::find(qint64 bytes)
{
    m_tally.change([newBytes = bytes - m_found](TransferCounts &counts) { counts.bytesFound += newBytes; });
    m_found = bytes;
    moveTo(bytes);
}

void TransferTally::File::arrive(qint64 size, qint64 files)
{
    moveTo(size, files);
    m_bytes = m_files = m_found = 0;
}

void TransferTally::addTotal(qint64 files, qint64 bytes)
{
    change([files, bytes](TransferCounts &counts) {
        counts.filesTotal += files;
        counts.bytesTotal += bytes;
    });
}

void TransferTally::addFound(qint64 files, qint64 bytes)
{
    change([files, bytes](TransferCounts &counts) {
        counts.filesDone += files;
        counts.bytesDone += bytes;
        counts.bytesFound += bytes;
    });
}

void TransferTally::addSkipped(qint64 files, qint64 bytes)
{
    change([files, bytes](TransferCounts &counts) {
        counts.skipped += files;
        counts.filesTotal -= files;
        counts.bytesTotal -= bytes;
    });
}

void TransferTally::fail(const QString &sentence)
{
    const std::lock_guard lock(m_mutex);
    m_outcome.failures.append(sentence);
}

void TransferTally::noteChanged(const QString &targetFolder)
{
    const std::lock_guard lock(m_mutex);
    m_changedFolders.insert(targetFolder);
}

void TransferTally::note(const QString &text)
{
    const std::lock_guard lock(m_mutex);
    if (!m_outcome.notes.contains(text))
        m_outcome.notes.append(text);
}

void TransferTally::noteMore(qint64 count, const QString &one, const QString &several)
{
    const std::lock_guard lock(m_mutex);
    auto &[text, sum] = m_numbers[several];
    text = one;
    sum += count;
}

void TransferTally::waitFor(const QString &lostLink)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_outcome.counts.waitingFor == lostLink)
            return;
        m_outcome.counts.waitingFor = lostLink;
    }
    publish(true);
}

void TransferTally::change(const std::function<void(TransferCounts &)> &change)
{
    {
        const std::lock_guard lock(m_mutex);
        change(m_outcome.counts);
    }
    publish();
}

void TransferTally::publish(bool always)
{
    constexpr qint64 intervalMsecs = 100;
    // Reported under the lock, so that an older count never comes after a newer one.
    const std::lock_guard lock(m_mutex);
    m_isUntold = !always && m_sincePublished.isValid() && m_sincePublished.elapsed() < intervalMsecs;
    if (!m_report || m_isUntold)
        return;
    m_sincePublished.start();
    m_report(m_outcome.counts);
}

void TransferTally::publishRest()
{
    const std::lock_guard lock(m_mutex);
    if (m_report && std::exchange(m_isUntold, false))
        m_report(m_outcome.counts);
}

qint64 TransferTally::filesTotal() const
{
    const std::lock_guard lock(m_mutex);
    return m_outcome.counts.filesTotal;
}

TransferOutcome TransferTally::outcome() const
{
    const std::lock_guard lock(m_mutex);
    TransferOutcome outcome = m_outcome;
    outcome.changedTargetFolders = m_changedFolders.values();
    for (auto number = m_numbers.cbegin(); number != m_numbers.cend(); ++number) {
        const auto &[one, count] = number.value();
        const QString text = count == 1 ? one : number.key().arg(count);
        if (!text.isEmpty())
            outcome.notes.append(text);
    }
    return outcome;
}

} // namespace moorix
