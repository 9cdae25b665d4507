// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QPixmap>
#include <QStringList>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <optional>

class QMenu;

namespace moorix {

class AppModel;
struct LocalStats;

/// A few figures of this computer in the desktop's tray: in the icon, its tool tip and its menu. There only where the
/// user wants it and the desktop has a tray.
class MonitorTray final : public QObject
{
    Q_OBJECT

public:
    enum class Widget { cpu, memory, disk, network, battery };

    /// `hasTray` tells whether the desktop has one, whenever a setting changes.
    explicit MonitorTray(AppModel &model, QObject *parent = nullptr,
                         std::function<bool()> hasTray = QSystemTrayIcon::isSystemTrayAvailable);
    ~MonitorTray() override;

    /// Null while the icon is not there.
    const QMenu *menu() const { return m_menu.get(); }
    /// "CPU 37 %", "Memory 41 %" …, of the widgets that are chosen and known.
    static QStringList lines(const LocalStats &stats, const QList<Widget> &widgets);
    /// A bar for each; those that are not known are empty.
    static QPixmap picture(const LocalStats &stats, const QList<Widget> &widgets, int size);

signals:
    void monitorRequested();
    void windowRequested();
    void quitRequested();

private:
    QList<Widget> chosen() const;
    void followSettings();
    void refresh();

    AppModel &m_model;
    std::function<bool()> m_hasTray;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    /// Nothing before the first reading.
    std::optional<QStringList> m_shown;
    QList<QAction *> m_lines;
};

} // namespace moorix
