// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncText.h"

#include "files/Format.h"

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;
using Stage = SyncProgress::Stage;

namespace {

QString done(const SyncRow &row)
{
    switch (row.action) {
    case SyncAction::copyToLocal:
        return u"copied to this computer"_s;
    case SyncAction::copyToRemote:
        return u"copied to the server"_s;
    case SyncAction::removeLocal:
        return u"deleted on this computer"_s;
    case SyncAction::removeRemote:
        return u"deleted on the server"_s;
    case SyncAction::keepBoth:
        return u"both versions kept"_s;
    case SyncAction::forget:
        return u"gone on both sides"_s;
    case SyncAction::none:
    case SyncAction::leave:
        break;
    }
    return u"unchanged"_s;
}

qsizetype countOf(const QList<SyncRow> &rows, SyncAction action)
{
    return std::count_if(rows.cbegin(), rows.cend(), [action](const SyncRow &row) { return row.action == action; });
}

} // namespace

QString SyncText::bucket(SyncBucket bucket)
{
    switch (bucket) {
    case SyncBucket::unchanged:
        return u"Unchanged"_s;
    case SyncBucket::createOnLocal:
        return u"New on the server"_s;
    case SyncBucket::createOnRemote:
        return u"New on this computer"_s;
    case SyncBucket::updateLocal:
        return u"Changed on the server"_s;
    case SyncBucket::updateRemote:
        return u"Changed on this computer"_s;
    case SyncBucket::conflict:
        return u"Conflict"_s;
    case SyncBucket::restoreOnLocal:
        return u"Deleted on this computer, changed on the server"_s;
    case SyncBucket::restoreOnRemote:
        return u"Deleted on the server, changed on this computer"_s;
    case SyncBucket::deleteLocal:
        return u"Deleted on the server"_s;
    case SyncBucket::deleteRemote:
        return u"Deleted on this computer"_s;
    case SyncBucket::bothMissing:
        break;
    }
    return u"Gone on both sides"_s;
}

QString SyncText::action(SyncAction action)
{
    switch (action) {
    case SyncAction::copyToLocal:
        return u"Copy to this computer"_s;
    case SyncAction::copyToRemote:
        return u"Copy to the server"_s;
    case SyncAction::removeLocal:
        return u"Delete on this computer"_s;
    case SyncAction::removeRemote:
        return u"Delete on the server"_s;
    case SyncAction::keepBoth:
        return u"Keep both"_s;
    case SyncAction::leave:
        return u"Skip"_s;
    case SyncAction::none:
    case SyncAction::forget:
        break;
    }
    return u"Nothing to do"_s;
}

QString SyncText::result(const SyncRow &row)
{
    const auto because = [&row](const QString &what) {
        return row.reason.isEmpty() ? what : what + u": "_s + row.reason;
    };
    switch (row.result) {
    case SyncResult::done:
        return done(row);
    case SyncResult::failed:
        return because(u"failed"_s);
    case SyncResult::skipped:
        return because(u"skipped"_s);
    case SyncResult::open:
        break;
    }
    if (row.action == SyncAction::leave)
        return because(row.diff.bucket == SyncBucket::conflict ? u"conflict"_s : u"skipped"_s);
    return row.action == SyncAction::none ? u"unchanged"_s : u"not done"_s;
}

QString SyncText::progress(const SyncProgress &progress)
{
    const TransferCounts &counts = progress.counts;
    if (!counts.waitingFor.isEmpty())
        return u"Waiting to reconnect: %1"_s.arg(counts.waitingFor.section(u'\n', 0, 0));
    const auto copying = [&counts](const QString &where) {
        return u"Copying to %1: %2 of %3 files, %4 of %5"_s.arg(
            where, QString::number(counts.filesDone), QString::number(counts.filesTotal),
            Format::byteCount(counts.bytesDone), Format::byteCount(counts.bytesTotal));
    };
    switch (progress.stage) {
    case Stage::reading:
        return u"Reading: %1 entries on this computer, %2 on the server"_s.arg(progress.localEntries)
            .arg(progress.remoteEntries);
    case Stage::comparing:
        return u"Comparing what files hold…"_s;
    case Stage::copyingToServer:
        return copying(u"the server"_s);
    case Stage::copyingFromServer:
        return copying(u"this computer"_s);
    case Stage::deleting:
        return u"Deleting…"_s;
    case Stage::recording:
        break;
    }
    return u"Recording what was done…"_s;
}

QString SyncText::summary(const SyncOutcome &outcome)
{
    const auto isLeft = [](const SyncRow &row) {
        return row.action == SyncAction::leave && row.result == SyncResult::open;
    };
    const auto isTreated = [](const SyncRow &row) {
        return row.action != SyncAction::none && row.action != SyncAction::forget && row.result == SyncResult::done;
    };
    const qsizetype left = std::count_if(outcome.rows.cbegin(), outcome.rows.cend(), isLeft);
    const qsizetype treated = std::count_if(outcome.rows.cbegin(), outcome.rows.cend(), isTreated);
    QStringList parts{u"%1 done"_s.arg(treated)};
    if (const qsizetype skipped = outcome.count(SyncResult::skipped) + left; skipped > 0)
        parts.append(u"%1 left"_s.arg(skipped));
    if (const qsizetype failed = outcome.count(SyncResult::failed); failed > 0)
        parts.append(u"%1 failed"_s.arg(failed));
    return parts.join(u", "_s);
}

QString SyncText::summary(const SyncPlan &plan)
{
    QStringList parts;
    const auto add = [&](SyncAction action, const QString &text) {
        if (const qsizetype count = countOf(plan.rows, action); count > 0)
            parts.append(text.arg(count));
    };
    add(SyncAction::copyToRemote, u"%1 to the server"_s);
    add(SyncAction::copyToLocal, u"%1 to this computer"_s);
    add(SyncAction::removeLocal, u"%1 to delete on this computer"_s);
    add(SyncAction::removeRemote, u"%1 to delete on the server"_s);
    add(SyncAction::keepBoth, u"%1 to keep twice"_s);
    add(SyncAction::leave, u"%1 left as they are"_s);
    return parts.isEmpty() ? u"Both sides are alike."_s : parts.join(u", "_s);
}

} // namespace moorix
