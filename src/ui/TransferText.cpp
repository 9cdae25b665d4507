// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferText.h"

#include "files/Format.h"
#include "transfers/TransferEngine.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace moorix::TransferText {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("TransferText", text);
}

QString files(qint64 count)
{
    return count == 1 ? tr("1 file") : tr("%1 files").arg(count);
}

} // namespace

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
    QString amount =
        transfer.bytesTotal > 0
            ? tr("%1 of %2").arg(Format::byteCount(transfer.bytesDone), Format::byteCount(transfer.bytesTotal))
            : Format::byteCount(transfer.bytesDone);
    if (transfer.filesTotal > 1)
        amount +=
            tr(" · file %1 of %2").arg(std::min(transfer.filesDone + 1, transfer.filesTotal)).arg(transfer.filesTotal);
    if (transfer.bytesPerSecond >= 1)
        amount += tr(" · %1/s").arg(Format::byteCount(qint64(transfer.bytesPerSecond)));
    const QString left = timeLeft(transfer.bytesTotal - transfer.bytesDone, transfer.bytesPerSecond);
    if (!left.isEmpty())
        amount += QStringLiteral(" · ") + left;
    const QString name = transfer.currentName.isEmpty() ? transfer.title : Format::display(transfer.currentName);
    return QStringLiteral("%1 — %2").arg(name, amount);
}

QString outcome(const TransferStatus &transfer)
{
    QStringList parts;
    switch (transfer.state) {
    case TransferStatus::State::waiting:
        return tr("Waiting");
    case TransferStatus::State::running:
        return progress(transfer);
    case TransferStatus::State::reconnecting:
        return tr("Waiting to reconnect");
    case TransferStatus::State::interrupted:
        return tr("Waiting – resume?");
    case TransferStatus::State::paused:
        parts += tr("Paused");
        break;
    case TransferStatus::State::cancelled:
        parts += tr("Cancelled");
        break;
    case TransferStatus::State::failed:
        parts += transfer.failures.size() == 1 ? tr("1 failed") : tr("%1 failed").arg(transfer.failures.size());
        break;
    case TransferStatus::State::finished:
        break;
    }
    parts += files(transfer.filesDone);
    parts += Format::byteCount(transfer.bytesDone);
    if (transfer.skipped > 0)
        parts += tr("%1 skipped").arg(transfer.skipped);
    return parts.join(QStringLiteral(" · "));
}

QString totals(const TransferTotals &totals)
{
    if (totals.transfers < 2)
        return {};
    QString text = tr("%1 transfers · %2 of %3")
                       .arg(QString::number(totals.transfers), Format::byteCount(totals.bytesDone),
                            Format::byteCount(totals.bytesTotal));
    if (totals.bytesPerSecond >= 1)
        text += tr(" · %1/s").arg(Format::byteCount(qint64(totals.bytesPerSecond)));
    const QString left = timeLeft(totals.bytesTotal - totals.bytesDone, totals.bytesPerSecond);
    return left.isEmpty() ? text : text + QStringLiteral(" · ") + left;
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
