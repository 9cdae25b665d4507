// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

#include <memory>

class QDBusConnection;

namespace moorix {

/// Tells the user something outside the window, by the desktop's notification service (org.freedesktop.Notifications).
/// Where there is none, nothing happens. Main thread; never waits for the service.
class DesktopNotifier final : public QObject
{
    Q_OBJECT

public:
    /// On the session bus.
    explicit DesktopNotifier(QObject *parent = nullptr);
    explicit DesktopNotifier(const QDBusConnection &bus, QObject *parent = nullptr);
    ~DesktopNotifier() override;

    /// `topic` names what it is about: a further notification on it takes the place of the one before. `text` is plain.
    void notify(const QString &topic, const QString &title, const QString &text);

signals:
    /// The user has clicked on the notification.
    void activated(const QString &topic);

private slots:
    void noteAction(uint id, const QString &action);

private:
    struct Shown;
    std::unique_ptr<QDBusConnection> m_bus;
    std::unique_ptr<Shown> m_shown;
};

} // namespace moorix
