// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopNotifier.h"

#include "support/TestMain.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QVariantMap>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

/// Notes what it is told to show.
class FakeService final : public QObject
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

} // namespace

class DesktopNotifierTest final : public QObject
{
    Q_OBJECT

private slots:
    void aFailureIsShownOncePerTopicAndAClickOnItIsHeard()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"service"_s);
        if (!bus.isConnected())
            QSKIP("There is no session bus here.");
        FakeService fake;
        QVERIFY(bus.registerObject(u"/org/freedesktop/Notifications"_s, &fake,
                                   QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
        DesktopNotifier notifier(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"client"_s));
        // Without a bus nothing happens.
        DesktopNotifier(QDBusConnection(u"none"_s)).notify(u"a"_s, u"Title"_s, u"lost"_s);
        QVERIFY(bus.registerService(u"org.freedesktop.Notifications"_s));
        notifier.notify(u"a"_s, u"Title"_s, u"a <b> & c"_s);
        QTRY_COMPARE(fake.bodies, QStringList{u"Title|a &lt;b&gt; &amp; c"_s});
        QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        QTRY_VERIFY((emit fake.ActionInvoked(7, u"default"_s), activated.count() > 0));
        QCOMPARE(activated.first().first(), u"a"_s);
        notifier.notify(u"a"_s, u"Title"_s, u"again"_s);
        QTRY_COMPARE(fake.replaced, (QList<uint>{0, 7}));
    }
};

MOORIX_TEST(DesktopNotifierTest)

#include "DesktopNotifierTest.moc"
