// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MonitoredHost.h"

#include <QWidget>

class QGridLayout;
class QLabel;
class QToolButton;

namespace moorix {

class CoreBars;
class ElidedLabel;
class HistoryGraph;
class MonitorCard;
class TopProcesses;
class UsageBar;

/// One machine on the dashboard: its cards, in as many columns as there is room for, or why there are none.
class HostColumn final : public QWidget
{
    Q_OBJECT

public:
    /// The host outlives it.
    explicit HostColumn(MonitoredHost &host, QWidget *parent = nullptr);

    const MonitoredHost &host() const { return m_host; }
    /// Side by side with others it keeps to one column of cards.
    void setMostColumns(int columns);

signals:
    void removeRequested();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QWidget *makeHeader();
    QWidget *makeMessage();
    void makeCards();
    MonitorCard *addCard(const QString &title, const QString &objectName);
    HistoryGraph *addGraph(MonitorCard &card, QList<MonitoredHost::Figure> figures);
    void arrange();
    void refresh();
    void showState();
    void showFigures(const RemoteStats &stats);
    void showLocal(const LocalStats &stats);
    void showAlerts();

    MonitoredHost &m_host;
    ElidedLabel *m_subtitle = nullptr;
    QLabel *m_stale = nullptr;
    QWidget *m_message = nullptr;
    QLabel *m_messageTitle = nullptr;
    QLabel *m_messageText = nullptr;
    QWidget *m_body = nullptr;
    QGridLayout *m_grid = nullptr;
    /// In their order.
    QList<MonitorCard *> m_cards;
    QList<HistoryGraph *> m_graphs;
    MonitorCard *m_load = nullptr;
    MonitorCard *m_memory = nullptr;
    MonitorCard *m_network = nullptr;
    MonitorCard *m_disk = nullptr;
    MonitorCard *m_uptime = nullptr;
    MonitorCard *m_processes = nullptr;
    MonitorCard *m_cores = nullptr;
    MonitorCard *m_sensors = nullptr;
    UsageBar *m_diskBar = nullptr;
    QLabel *m_otherDisks = nullptr;
    CoreBars *m_coreBars = nullptr;
    TopProcesses *m_top = nullptr;
    int m_mostColumns = 3;
    int m_columns = 0;
};

} // namespace moorix
