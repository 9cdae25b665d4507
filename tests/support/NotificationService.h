// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace moorix::test {

/// Stands for the desktop's notifications: notes what it is told to show.
class NotificationService final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList bodies;
    QList<uint> replaced;

public slots:
    uint Notify(const QString &, uint replaces, const QString &, const QString &title, const QString &body,
                const QStringList &, const QVariantMap &, int)
    {
        bodies << title + u'|' + body;
        replaced << replaces;
        return 7;
    }

signals:
    void ActionInvoked(uint id, const QString &action);
};

} // namespace moorix::test
