// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncLook.h"

#include "files/Format.h"
#include "sync/SyncText.h"
#include "ui/TransferText.h"

#include <QCoreApplication>

namespace moorix::SyncLook {

using namespace Qt::StringLiterals;
using enum Theme::Color;

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("moorix::SyncLook", text);
}

QString serverName(const std::optional<ServerConnection> &server)
{
    return server ? Format::display(server->displayName()) : tr("a server that is gone");
}

} // namespace

QString title(const SyncPair &pair, const std::optional<ServerConnection> &server)
{
    if (!pair.name.isEmpty())
        return Format::display(pair.name);
    const QString name = Format::fileName(pair.localPath);
    return tr("%1 ↔ %2").arg(Format::display(name.isEmpty() ? pair.localPath : name), serverName(server));
}

QString folders(const SyncPair &pair, const std::optional<ServerConnection> &server)
{
    return tr("%1 ↔ %2:%3").arg(Format::display(pair.localPath), serverName(server), Format::display(pair.remotePath));
}

QString lastRun(const std::optional<SyncLogEntry> &run)
{
    if (!run)
        return tr("Not synced yet");
    const QString when = TransferText::moment(run->started);
    if (run->result == QLatin1StringView("Completed"))
        return tr("Synced %1").arg(when);
    return run->result == QLatin1StringView("Cancelled") ? tr("Cancelled %1").arg(when) : tr("Failed %1").arg(when);
}

std::pair<QString, Theme::Color> directionSign(const SyncRow &row)
{
    if (row.result == SyncResult::failed)
        return {u"data-warning"_s, danger};
    switch (row.action) {
    case SyncAction::copyToLocal:
        return {u"go-previous"_s, success};
    case SyncAction::copyToRemote:
        return {u"go-next"_s, accent};
    case SyncAction::removeLocal:
    case SyncAction::removeRemote:
        return {u"edit-delete"_s, danger};
    case SyncAction::keepBoth:
        return {u"edit-copy"_s, warning};
    case SyncAction::leave:
        if (row.isBlocked)
            return {u"dialog-cancel"_s, faintText};
        return row.diff.bucket == SyncBucket::conflict ? std::pair{u"data-warning"_s, warning}
                                                       : std::pair{u"dialog-cancel"_s, mutedText};
    case SyncAction::none:
    case SyncAction::forget:
        break;
    }
    return {u"dialog-ok-apply"_s, faintText};
}

QString directionText(const SyncRow &row)
{
    return SyncText::action(row.action);
}

QString sentence(const QString &clause)
{
    return clause.isEmpty() ? clause : clause.at(0).toUpper() + clause.mid(1);
}

QString happening(const SyncRow &row, bool hasEnded)
{
    if (hasEnded)
        return sentence(SyncText::result(row));
    if (row.isBlocked)
        return sentence(row.reason);
    if (row.diff.bucket == SyncBucket::conflict && row.action == SyncAction::leave)
        return tr("Conflict: choose what to keep");
    if (row.action == SyncAction::removeLocal || row.action == SyncAction::removeRemote)
        return SyncText::action(row.action);
    // The sign tells the rest.
    if (row.action == usualAction(row.diff.bucket))
        return SyncText::bucket(row.diff.bucket);
    return SyncText::action(row.action);
}

Theme::Color happeningColor(const SyncRow &row)
{
    if (row.result == SyncResult::failed)
        return danger;
    if (row.diff.bucket == SyncBucket::conflict && row.action == SyncAction::leave && !row.isBlocked)
        return warning;
    const bool isDeletion = row.action == SyncAction::removeLocal || row.action == SyncAction::removeRemote;
    return isDeletion ? danger : mutedText;
}

QString choiceText(SyncChoice choice, const SyncRow *only)
{
    if (only && choice != SyncChoice::usual)
        return SyncText::action(actionFor(*only, choice));
    switch (choice) {
    case SyncChoice::localWins:
        return tr("This computer wins");
    case SyncChoice::remoteWins:
        return tr("The server wins");
    case SyncChoice::keepBoth:
        return tr("Keep both");
    case SyncChoice::skip:
        return tr("Skip");
    case SyncChoice::usual:
        return tr("As suggested");
    case SyncChoice::next:
        break;
    }
    return tr("Next choice");
}

} // namespace moorix::SyncLook
