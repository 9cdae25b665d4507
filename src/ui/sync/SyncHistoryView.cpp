// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncHistoryView.h"

#include "files/Format.h"
#include "sync/SyncSession.h"
#include "ui/Theme.h"
#include "ui/TransferText.h"

#include <QHeaderView>
#include <QKeyEvent>

namespace moorix {

namespace {

enum Column { timeColumn, resultColumn, countsColumn };
constexpr int runRole = Qt::UserRole;

QString countsOf(const SyncLogEntry &run)
{
    QStringList parts{SyncHistoryView::tr("%1 done").arg(run.done)};
    if (run.skipped > 0)
        parts << SyncHistoryView::tr("%1 skipped").arg(run.skipped);
    if (run.failed > 0)
        parts << SyncHistoryView::tr("%1 failed").arg(run.failed);
    if (run.conflicts > 0)
        parts << (run.conflicts == 1 ? SyncHistoryView::tr("1 conflict")
                                     : SyncHistoryView::tr("%n conflicts", nullptr, int(run.conflicts)));
    if (run.bytesCopied > 0)
        parts << Format::byteCount(run.bytesCopied);
    parts << TransferText::duration(std::chrono::milliseconds(run.milliseconds));
    return parts.join(QStringLiteral(" · "));
}

} // namespace

SyncHistoryView::SyncHistoryView(SyncSession &session, QWidget *parent)
    : QTreeWidget(parent)
    , m_session(session)
{
    setObjectName(QStringLiteral("syncRuns"));
    setAccessibleName(tr("Earlier runs"));
    setHeaderLabels({tr("Run"), tr("Result"), tr("What was done")});
    setFrameShape(NoFrame);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    header()->setSectionsMovable(false);
    header()->resizeSection(timeColumn, 240);
    header()->resizeSection(resultColumn, 180);
    connect(this, &QTreeWidget::itemExpanded, this, &SyncHistoryView::fillRun);
    connect(&session, &SyncSession::stateChanged, this, &SyncHistoryView::refill);
    refill();
}

void SyncHistoryView::refill()
{
    if (!isVisibleTo(parentWidget()))
        return;
    clear();
    const QList<SyncLogEntry> &log = m_session.log();
    for (qsizetype run = log.size() - 1; run >= 0; --run) {
        const SyncLogEntry &entry = log.at(run);
        auto *item = new QTreeWidgetItem(
            this, {TransferText::moment(entry.started), entry.result.section(u'\n', 0, 0), countsOf(entry)});
        item->setData(timeColumn, runRole, run);
        if (entry.failed > 0 || entry.result != QLatin1StringView("Completed"))
            item->setForeground(resultColumn, Theme::color(Theme::Color::warning));
        item->setForeground(countsColumn, Theme::color(Theme::Color::mutedText));
        if (!entry.lines.isEmpty())
            item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    }
    if (topLevelItemCount() > 0)
        setCurrentItem(topLevelItem(0));
}

void SyncHistoryView::fillRun(QTreeWidgetItem *item)
{
    const qsizetype run = item->data(timeColumn, runRole).value<qsizetype>();
    if (item->childCount() > 0 || item->parent() || run >= m_session.log().size())
        return;
    for (const QString &line : m_session.log().at(run).lines) {
        auto *child = new QTreeWidgetItem(item, {Format::display(line)});
        child->setFirstColumnSpanned(true);
        child->setForeground(0, Theme::color(Theme::Color::mutedText));
    }
}

void SyncHistoryView::keyPressEvent(QKeyEvent *event)
{
    // Escape is for the page.
    if (event->key() == Qt::Key_Escape)
        event->ignore();
    else
        QTreeWidget::keyPressEvent(event);
}

} // namespace moorix
