// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHeaderView>
#include <QTimer>

namespace moorix {

class PaneModel;
class SettingsStore;

/// The head of a file list: a click sorts, widths are remembered, its menu chooses columns and order. Main thread.
class FileListHeader final : public QHeaderView
{
    Q_OBJECT

public:
    FileListHeader(PaneModel &pane, SettingsStore &settings, QWidget *parent = nullptr);

    /// Arranges the columns; called once the model is set.
    void arrange();

protected:
    void paintSection(QPainter *painter, const QRect &rect, int column) const override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void sortByColumn(int column);
    void showOrder();
    void takeWidths();
    void showWidths();

    PaneModel &m_pane;
    SettingsStore &m_settings;
    QTimer m_widthTimer;
};

} // namespace moorix
