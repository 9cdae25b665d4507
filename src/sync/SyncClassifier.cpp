// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncClassifier.h"

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Absent entries are null.
using Entry = const SyncEntry *;

bool isSame(Entry a, Entry b)
{
    return SyncEntry::isEqual(*a, *b, syncToleranceSeconds);
}

bool hasChanged(Entry current, Entry baseline)
{
    return !baseline || !isSame(current, baseline);
}

SyncBucket verdict(Entry local, Entry remote, Entry baselineLocal, Entry baselineRemote)
{
    if (local && remote) {
        if (isSame(local, remote))
            return SyncBucket::unchanged;
        const bool localChanged = hasChanged(local, baselineLocal);
        if (localChanged == hasChanged(remote, baselineRemote))
            return SyncBucket::conflict;
        return localChanged ? SyncBucket::updateRemote : SyncBucket::updateLocal;
    }
    if (local) {
        if (!baselineRemote)
            return SyncBucket::createOnRemote;
        return hasChanged(local, baselineLocal) ? SyncBucket::restoreOnRemote : SyncBucket::deleteLocal;
    }
    if (remote) {
        if (!baselineLocal)
            return SyncBucket::createOnLocal;
        return hasChanged(remote, baselineRemote) ? SyncBucket::restoreOnLocal : SyncBucket::deleteRemote;
    }
    return SyncBucket::bothMissing;
}

/// Goes through one tree beside the others.
class Cursor final
{
public:
    explicit Cursor(const SyncEntries &entries)
        : m_at(entries.cbegin())
        , m_end(entries.cend())
    {
    }

    /// The smaller of `path` and the path the cursor is at.
    const QString *earlier(const QString *path) const
    {
        return m_at != m_end && (!path || m_at.key() < *path) ? &m_at.key() : path;
    }

    /// The entry at this path, and goes on; null where the tree has none.
    Entry take(const QString &path)
    {
        if (m_at == m_end || m_at.key() != path)
            return nullptr;
        return &*m_at++;
    }

private:
    SyncEntries::const_iterator m_at;
    SyncEntries::const_iterator m_end;
};

std::optional<SyncEntry> valueOf(Entry entry)
{
    return entry ? std::optional(*entry) : std::nullopt;
}

Entry pointerTo(const std::optional<SyncEntry> &entry)
{
    return entry ? &*entry : nullptr;
}

} // namespace

QString rawText(SyncBucket bucket)
{
    switch (bucket) {
    case SyncBucket::unchanged:
        return u"unchanged"_s;
    case SyncBucket::createOnLocal:
        return u"createOnLocal"_s;
    case SyncBucket::createOnRemote:
        return u"createOnRemote"_s;
    case SyncBucket::updateLocal:
        return u"updateLocal"_s;
    case SyncBucket::updateRemote:
        return u"updateRemote"_s;
    case SyncBucket::conflict:
        return u"conflict"_s;
    case SyncBucket::restoreOnLocal:
        return u"restoreOnLocal"_s;
    case SyncBucket::restoreOnRemote:
        return u"restoreOnRemote"_s;
    case SyncBucket::deleteLocal:
        return u"deleteLocal"_s;
    case SyncBucket::deleteRemote:
        return u"deleteRemote"_s;
    case SyncBucket::bothMissing:
        break;
    }
    return u"bothMissing"_s;
}

SyncBucket SyncClassifier::classifyOne(const std::optional<SyncEntry> &local, const std::optional<SyncEntry> &remote,
                                       const std::optional<SyncEntry> &baselineLocal,
                                       const std::optional<SyncEntry> &baselineRemote)
{
    return verdict(pointerTo(local), pointerTo(remote), pointerTo(baselineLocal), pointerTo(baselineRemote));
}

/// The four trees are in order already, so one pass beside each other does for the sort.
QList<SyncDiffEntry> SyncClassifier::classify(const SyncEntries &currentLocal, const SyncEntries &currentRemote,
                                              const std::optional<SyncManifest> &manifest)
{
    const SyncEntries none;
    Cursor local(currentLocal);
    Cursor remote(currentRemote);
    Cursor baselineLocal(manifest ? manifest->localEntries : none);
    Cursor baselineRemote(manifest ? manifest->remoteEntries : none);
    QList<SyncDiffEntry> rows;
    rows.reserve(std::max(currentLocal.size(), currentRemote.size()));
    while (true) {
        const QString *next = nullptr;
        for (const Cursor *cursor : {&local, &remote, &baselineLocal, &baselineRemote})
            next = cursor->earlier(next);
        if (!next)
            return rows;
        const QString path = *next;
        const Entry here = local.take(path);
        const Entry there = remote.take(path);
        const SyncBucket bucket = verdict(here, there, baselineLocal.take(path), baselineRemote.take(path));
        rows.append({path, bucket, valueOf(here), valueOf(there)});
    }
}

} // namespace moorix
