// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferBadge.h"

#include "app/Session.h"
#include "transfers/TransferEngine.h"
#include "ui/Theme.h"

#include <QCoreApplication>
#include <QPainter>
#include <QStringList>

namespace moorix {

namespace {

/// Whether a tab shows one end of a transfer. All of a server counts as one place, the disk folder by folder.
bool shows(const Session &session, const TransferPlaces::Server &server, const QString &folder)
{
    if (session.server())
        return server == session.server()->id;
    return session.mode() == PaneMode::local && !server && folder == session.folder();
}

} // namespace

TransferBadge TransferBadge::of(const Session &session, const TransferEngine &transfers)
{
    TransferBadge badge;
    for (const TransferStatus &transfer : transfers.transfers()) {
        const bool isFailed = transfer.state == TransferStatus::State::failed;
        if (!isFailed && !isOpen(transfer.state))
            continue;
        const TransferEngine::Ends ends = transfers.ends(transfer.id);
        if (shows(session, ends.source, ends.sourceFolder) || shows(session, ends.destination, ends.targetFolder))
            ++(isFailed ? badge.failed : badge.open);
    }
    return badge;
}

QString TransferBadge::text() const
{
    const auto tr = [](const char *text, const char *comment = nullptr, int count = -1) {
        return QCoreApplication::translate("moorix::TransferBadge", text, comment, count);
    };
    QStringList parts;
    if (open > 0)
        parts << (open == 1 ? tr("1 transfer under way") : tr("%n transfers under way", nullptr, int(open)));
    if (failed > 0)
        parts << (failed == 1 ? tr("1 transfer failed") : tr("%n transfers failed", nullptr, int(failed)));
    return parts.join(QStringLiteral(", "));
}

QIcon TransferBadge::on(const QIcon &icon) const
{
    if (isEmpty())
        return icon;
    QIcon badged;
    for (const int size : {16, 32, 48}) {
        QPixmap pixmap = icon.pixmap(QSize(size, size), 1.0);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal diameter = size * 0.5;
        const QRectF dot(size - diameter, size - diameter, diameter, diameter);
        // A rim cut out of the icon keeps the dot apart from it on any ground.
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(dot.adjusted(-size / 12.0, -size / 12.0, size / 12.0, size / 12.0));
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.setBrush(Theme::color(failed > 0 ? Theme::Color::danger : Theme::Color::accent));
        painter.drawEllipse(dot);
        painter.end();
        badged.addPixmap(pixmap);
    }
    return badged;
}

} // namespace moorix
