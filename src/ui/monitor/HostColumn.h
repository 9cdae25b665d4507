// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/MonitoredHost.h"

#include <QWidget>

class QGridLayout;
class QLabel;
class QPushButton;

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
    /// Alone it fills the room there is; side by side with others its cards keep their heights, so that those of one
    /// kind stand in a line.
    void setNeighbours(int count);

    /// What the first row of cards, whose warnings need room, takes by itself; 0 without cards.
    int firstRowHeight() const;
    /// Room for the first row of the tallest neighbour.
    void setFirstRowHeight(int height);

signals:
    void removeRequested();
    /// `firstRowHeight` may be another one.
    void heightChanged();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QWidget *makeHeader();
    QWidget *makeMessage();
    void makeCards();
    void makeLocalCards();
    MonitorCard *addCard(const QString &title, const QString &objectName);
    HistoryGraph *addGraph(MonitorCard &card, QList<MonitoredHost::Figure> figures);
    QList<MonitorCard *> shownCards(int columns) const;
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
    QPushButton *m_connect = nullptr;
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
    /// Of servers, which do not tell of single cores.
    UsageBar *m_loadBar = nullptr;
    QLabel *m_otherDisks = nullptr;
    CoreBars *m_coreBars = nullptr;
    TopProcesses *m_top = nullptr;
    MonitorCard *m_topCard = nullptr;
    MonitorCard *m_disks = nullptr;
    bool m_showsDisks = false;
    bool m_showsSensors = false;
    bool m_isAlone = true;
    int m_mostColumns = 3;
    /// As they are laid out.
    int m_columns = 0;
    QList<MonitorCard *> m_shown;
};

} // namespace moorix
