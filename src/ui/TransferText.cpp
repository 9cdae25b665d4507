// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferText.h"

#include "files/Format.h"
#include "ui/BriefName.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace moorix::TransferText {

namespace {

const auto separator = QStringLiteral(" · ");

QString tr(const char *text, const char *comment = nullptr, int count = -1)
{
    return QCoreApplication::translate("moorix::TransferText", text, comment, count);
}

QString files(qint64 count)
{
    return count == 1 ? tr("1 file") : tr("%n files", nullptr, int(count));
}

QString rate(double bytesPerSecond)
{
    return tr("%1/s").arg(Format::byteCount(qint64(bytesPerSecond)));
}

QString bytes(const TransferStatus &transfer)
{
    if (transfer.bytesTotal <= 0)
        return Format::byteCount(transfer.bytesDone);
    return tr("%1 of %2").arg(Format::byteCount(transfer.bytesDone), Format::byteCount(transfer.bytesTotal));
}

QStringList amounts(const TransferStatus &transfer)
{
    if (transfer.filesTotal == 0 && transfer.bytesDone == 0)
        return {tr("Preparing…")};
    QStringList parts{bytes(transfer)};
    if (transfer.bytesPerSecond >= 1)
        parts += rate(transfer.bytesPerSecond);
    parts += timeLeft(transfer.bytesTotal - transfer.bytesDone, transfer.bytesPerSecond);
    parts.removeAll(QString());
    if (transfer.filesTotal > 1)
        parts +=
            tr("file %1 of %2").arg(std::min(transfer.filesDone + 1, transfer.filesTotal)).arg(transfer.filesTotal);
    return parts;
}

/// What an ended one has done, as far as it is known: it is not after a restart.
QStringList work(const TransferStatus &transfer)
{
    QStringList parts;
    const bool isFinished = transfer.state == TransferStatus::State::finished;
    if (transfer.filesDone > 0 || transfer.bytesDone > 0 || (isFinished && transfer.skipped == 0)) {
        parts += files(transfer.filesDone);
        parts += Format::byteCount(transfer.bytesDone);
        if (transfer.timeTaken)
            parts += duration(*transfer.timeTaken);
        if (transfer.averageRate >= 1)
            parts += rate(transfer.averageRate);
    }
    if (transfer.skipped > 0)
        parts += tr("%1 skipped").arg(transfer.skipped);
    return parts;
}

/// "web-01: /var/www".
QString place(const QString &server, const QString &folder)
{
    return tr("%1: %2").arg(server.isEmpty() ? tr("this computer") : server, Format::display(folder));
}

} // namespace

QString title(const TransferStatus &transfer, const TransferEngine &engine)
{
    const TransferEngine::EndNames names = engine.endNames(transfer.id);
    QString title = transfer.title;
    if (!names.destination.isEmpty())
        title = tr("%1 on %2").arg(title, briefName(names.destination));
    // Within one server it goes without saying.
    if (!names.source.isEmpty() && engine.ends(transfer.id).source != engine.ends(transfer.id).destination)
        title = tr("%1, from %2").arg(title, briefName(names.source));
    return title;
}

QString ends(const QUuid &transfer, const TransferEngine &engine)
{
    const TransferEngine::Ends ends = engine.ends(transfer);
    const TransferEngine::EndNames names = engine.endNames(transfer);
    return tr("From %1").arg(place(names.source, ends.sourceFolder)) + u'\n' +
           tr("To %1").arg(place(names.destination, ends.targetFolder));
}

QString question(const TransferConflict &conflict, const TransferEngine &engine)
{
    const FileItem &existing = conflict.existing;
    const TransferEngine::EndNames names = engine.endNames(engine.conflictTransfer());
    const QString name = briefName(existing.name);
    const QString folder = Format::display(Format::parent(existing.path));
    if (!names.destination.isEmpty())
        return tr("“%1” already exists on %2 in %3").arg(name, briefName(names.destination), folder);
    if (!names.source.isEmpty())
        return tr("“%1” already exists on this computer in %2").arg(name, folder);
    return tr("“%1” already exists in %2").arg(name, folder);
}

QString timeLeft(qint64 bytesLeft, double bytesPerSecond)
{
    if (bytesLeft <= 0 || bytesPerSecond < 1)
        return {};
    const double seconds = double(bytesLeft) / bytesPerSecond;
    if (seconds > 99 * 3600)
        return {};
    const auto whole = qint64(std::ceil(seconds));
    if (whole < 60)
        return tr("%1 s left").arg(whole);
    const qint64 minutes = (whole + 30) / 60;
    if (minutes < 60)
        return tr("%1 min left").arg(minutes);
    return tr("%1 h %2 min left").arg(minutes / 60).arg(minutes % 60);
}

QString progress(const TransferStatus &transfer)
{
    return amounts(transfer).join(separator);
}

QString duration(std::chrono::milliseconds time)
{
    const qint64 seconds = (time.count() + 500) / 1000;
    if (time.count() < 1000)
        return tr("under 1 s");
    if (seconds < 60)
        return tr("%1 s").arg(seconds);
    if (seconds < 3600)
        return tr("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    return tr("%1 h %2 min").arg(seconds / 3600).arg(seconds % 3600 / 60);
}

QString moment(const QDateTime &time)
{
    const QDateTime local = time.toLocalTime();
    return local.date() == QDate::currentDate() ? Format::timeOfDay(local) : Format::date(local);
}

QString outcome(const TransferStatus &transfer)
{
    QStringList parts;
    switch (transfer.state) {
    case TransferStatus::State::waiting:
        return tr("Waiting");
    case TransferStatus::State::running:
        parts = amounts(transfer);
        if (transfer.filesTotal > 1 && !transfer.currentName.isEmpty())
            parts += Format::display(transfer.currentName);
        break;
    case TransferStatus::State::reconnecting:
        return tr("Waiting to reconnect");
    case TransferStatus::State::interrupted:
        return tr("Waiting – resume?");
    case TransferStatus::State::paused:
        parts += tr("Paused");
        if (transfer.filesTotal > 0)
            parts += bytes(transfer);
        break;
    case TransferStatus::State::cancelled:
        parts += tr("Cancelled");
        parts += work(transfer);
        break;
    case TransferStatus::State::failed:
        parts += tr("%1 failed").arg(transfer.failures.size());
        parts += work(transfer);
        break;
    case TransferStatus::State::finished:
        parts = work(transfer);
        break;
    }
    return parts.join(separator);
}

QString totals(const TransferTotals &totals)
{
    if (totals.transfers < 2)
        return {};
    QString text = tr("%1 transfers · %2 of %3")
                       .arg(QString::number(totals.transfers), Format::byteCount(totals.bytesDone),
                            Format::byteCount(totals.bytesTotal));
    if (totals.bytesPerSecond >= 1)
        text += separator + rate(totals.bytesPerSecond);
    const QString left = timeLeft(totals.bytesTotal - totals.bytesDone, totals.bytesPerSecond);
    return left.isEmpty() ? text : text + separator + left;
}

int permille(const TransferStatus &transfer)
{
    if (transfer.bytesTotal > 0)
        return int(std::clamp(double(transfer.bytesDone) / double(transfer.bytesTotal), 0.0, 1.0) * 1000);
    if (transfer.filesTotal > 0)
        return int(std::clamp(double(transfer.filesDone) / double(transfer.filesTotal), 0.0, 1.0) * 1000);
    return -1;
}

} // namespace moorix::TransferText
