// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopNotifier.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QHash>
#include <QVariantMap>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;
const QString clicked = u"default"_s;

} // namespace

struct DesktopNotifier::Shown
{
    /// The service's number of the last notification on a topic.
    QHash<QString, uint> numbers;
};

DesktopNotifier::DesktopNotifier(QObject *parent)
    : DesktopNotifier(QDBusConnection::sessionBus(), parent)
{
}

DesktopNotifier::DesktopNotifier(const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::make_unique<QDBusConnection>(bus))
    , m_shown(std::make_unique<Shown>())
{
    if (m_bus->isConnected())
        m_bus->connect(service, path, service, u"ActionInvoked"_s, this, SLOT(noteAction(uint, QString)));
}

DesktopNotifier::~DesktopNotifier() = default;

void DesktopNotifier::notify(const QString &topic, const QString &title, const QString &text)
{
    if (!m_bus->isConnected())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, service, u"Notify"_s);
    const QVariantMap hints{{u"desktop-entry"_s, u"moorix"_s}, {u"category"_s, u"transfer.error"_s}};
    constexpr int asLongAsTheDesktopLikes = -1;
    // Services may take the body for markup.
    call << u"Moorix"_s << m_shown->numbers.value(topic, 0) << u"moorix"_s << title << text.toHtmlEscaped()
         << QStringList{clicked, tr("Show")} << hints << asLongAsTheDesktopLikes;
    auto *watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, topic] {
        const QDBusPendingReply<uint> reply = *watcher;
        if (!reply.isError())
            m_shown->numbers.insert(topic, reply.value());
        watcher->deleteLater();
    });
}

void DesktopNotifier::noteAction(uint id, const QString &action)
{
    const QString topic = m_shown->numbers.key(id);
    if (action == clicked && !topic.isEmpty())
        emit activated(topic);
}

} // namespace moorix
