// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DesktopNotifier.h"

#include "support/NotificationService.h"
#include "support/TestMain.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class DesktopNotifierTest final : public QObject
{
    Q_OBJECT

private slots:
    void aFailureIsShownOncePerTopicAndAClickOnItIsHeard()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"service"_s);
        if (!bus.isConnected())
            QSKIP("There is no session bus here.");
        NotificationService fake;
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
