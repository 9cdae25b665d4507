// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransferDrawer.h"

#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "settings/SettingsStore.h"
#include "support/TestMain.h"
#include "transfers/TransferScene.h"
#include "ui/ConflictBar.h"
#include "ui/SpeedLimitButton.h"
#include "ui/TransferNotices.h"

#include <QAction>
#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = TransferStatus::State;

namespace {

/// Uploads that stand halfway until they are let go, and the drawer that shows them.
struct DrawerScene : EngineScene
{
    TransferDrawer drawer{*engine};
    ConflictBar bar{*engine};

    DrawerScene()
        : EngineScene({{"from/a", "12345678"}, {"from/b", "12345678"}, {"from/c", "new"}, {"to/", ""}})
    {
        drawer.setVisible(true);
    }
    ~DrawerScene() { letGo->release(99); }

    QTreeWidget &list() const { return *drawer.findChild<QTreeWidget *>(u"transferList"_s); }
    QPushButton &button(const char *name) const { return *drawer.findChild<QPushButton *>(QLatin1String(name)); }
    void select(int row) const { list().setCurrentItem(list().topLevelItem(row)); }
    void press(const char *name) const { QTest::mouseClick(&button(name), Qt::LeftButton); }
    QString text(int row) const { return list().topLevelItem(row)->text(0).section(u' ', 1, 1); }
};

} // namespace

class TransferDrawerTest final : public QObject
{
    Q_OBJECT

private slots:
    void buttonsActOnWhatIsSelectedAndOnlyWhereTheyApply()
    {
        DrawerScene scene;
        scene.send("from/a");
        QVERIFY(!scene.button("cancelTransfer").isEnabled());
        scene.select(0);
        QVERIFY(!scene.button("moveTransferUp").isVisible());
        scene.press("pauseTransfer");
        QCOMPARE(scene.state(0), State::paused);
        scene.letGo->release();
        QVERIFY(!scene.button("pauseTransfer").isVisible());
        scene.letGo->release();
        scene.press("resumeTransfer");
        QTRY_COMPARE(scene.state(0), State::finished);
        QVERIFY(!scene.button("retryTransfer").isVisible());
        scene.press("clearTransfers");
        QCOMPARE(scene.list().topLevelItemCount(), 0);
    }

    void speedIsLimitedByTheMenuOfItsButton()
    {
        DrawerScene scene;
        Preferences preferences(scene.tree.path("preferences.json"));
        KeyValueStore cloud({});
        SettingsStore settings(preferences, cloud);
        auto *button = new SpeedLimitButton(settings, &scene.drawer);
        scene.drawer.addTool(button);
        const auto choose = [button](const QString &text) {
            emit button->menu()->aboutToShow();
            for (QAction *action : button->menu()->actions()) {
                if (action->text() == text)
                    action->trigger();
            }
        };
        QTRY_VERIFY(button->isVisible());
        QCOMPARE(button->text(), u"No speed limit"_s);
        choose(u"250 kB/s"_s);
        QCOMPARE(settings.transferBytesPerSecond(), 250'000);
        QVERIFY(button->isChecked() && button->text() == u"At most 250 kB/s"_s);
        choose(u"Limit to 250 kB/s"_s);
        QCOMPARE(settings.transferBytesPerSecond(), 0);
        QVERIFY(!button->isChecked() && button->text() == u"No speed limit"_s);
    }

    void listStandsInTheOrderItRunsAndEndedOnesBehind()
    {
        DrawerScene scene;
        scene.send("from/a");
        scene.send("from/b");
        scene.send("from/c");
        scene.select(2);
        scene.press("moveTransferUp");
        QCOMPARE(scene.text(1), u"“c”"_s);
        QCOMPARE(scene.list().selectedItems().size(), 1);
        scene.select(2);
        scene.press("cancelTransfer");
        QCOMPARE(scene.text(2), u"“b”"_s);
        scene.letGo->release();
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.text(0), u"“c”"_s);
        QCOMPARE(scene.text(2), u"“a”"_s);
    }

    void failureShowsItsReasonAndCanBeTriedAgain()
    {
        DrawerScene scene;
        scene.server->halfway = [](const QString &) {
            throw FileServiceError::operationFailed(u"No space left on device"_s);
        };
        scene.send("from/a");
        QTRY_COMPARE(scene.state(0), State::failed);
        const QTreeWidgetItem *item = scene.list().topLevelItem(0);
        QCOMPARE(item->childCount(), 1);
        QVERIFY(item->child(0)->text(0).contains(u"No space left"_s));
        scene.select(0);
        QTest::keyClick(&scene.list(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY2(QGuiApplication::clipboard()->text().endsWith(u"1 failed\n"_s + item->child(0)->text(0)),
                 qPrintable(QGuiApplication::clipboard()->text()));
        scene.server->halfway = nullptr;
        // The line beneath a transfer stands for it.
        scene.list().clearSelection();
        item->child(0)->setSelected(true);
        scene.press("retryFailedTransfer");
        QTRY_COMPARE(scene.state(0), State::finished);
        QCOMPARE(scene.list().topLevelItem(0)->childCount(), 0);
    }

    void conflictOffersToGoOnOnlyWhereThatCanBe()
    {
        for (const auto &[existing, canResume] : {std::pair("1234", true), std::pair("123456789", false)}) {
            DrawerScene scene;
            scene.letGo->release(9);
            scene.tree.write("to/a", existing);
            scene.send("from/a");
            QTRY_VERIFY(scene.engine->conflict());
            auto *action = scene.bar.findChild<QAction *>(u"conflictResume"_s);
            QCOMPARE(action->isEnabled(), canResume);
            (canResume ? action : scene.bar.findChild<QAction *>(u"conflictOverwriteOtherSize"_s))->trigger();
            QTRY_COMPARE(scene.state(0), State::finished);
            QCOMPARE(scene.tree.read("to/a"), QByteArray("12345678"));
        }
    }

    void questionsAndFailuresAreToldOutsideTheWindowWhenNobodyLooks()
    {
        for (const bool isLookedAt : {false, true}) {
            EngineScene scene;
            scene.server->halfway = breakLink(1);
            QWidget window;
            if (isLookedAt) {
                window.show();
                QVERIFY(QTest::qWaitForWindowActive(&window));
            }
            const TransferNotices notices(*scene.engine);
            QSignalSpy raised(&notices, &TransferNotices::raised);
            scene.send("from/a");
            QTRY_VERIFY(scene.engine->conflict());
            scene.engine->answer({ConflictAnswer::Choice::overwrite});
            QTRY_COMPARE(scene.state(0), State::failed);
            QCOMPARE(raised.count(), isLookedAt ? 0 : 2);
        }
    }

    void serversAreNamedAsTheyAreCalledNow()
    {
        DrawerScene scene;
        QString name = u"web-01"_s;
        TransferPlaces places;
        places.serverOf = [server = scene.server.get()](const FileService &service) {
            return &service == server ? TransferPlaces::Server(QUuid()) : std::nullopt;
        };
        places.nameOf = [&name](const TransferPlaces::Server &server) { return server ? name : QString(); };
        scene.engine->keepQueueIn(scene.tree.path("transfers.json"), places);
        scene.tree.write("to/a", "old");
        scene.letGo->release(9);
        scene.send("from/a");
        QTRY_VERIFY(scene.engine->conflict());
        const auto row = [&scene] { return scene.list().topLevelItem(0)->text(0); };
        QVERIFY2(row().endsWith(u" on web-01"_s), qPrintable(row()));
        const QString question = scene.bar.findChild<QLabel *>(u"conflictQuestion"_s)->text();
        QVERIFY2(question.contains(u" on web-01 in "_s), qPrintable(question));
        name = u"web-02"_s;
        scene.engine->noteNewNames();
        QVERIFY2(row().endsWith(u" on web-02"_s), qPrintable(row()));
        QVERIFY(scene.list().topLevelItem(0)->toolTip(0).contains(u"From this computer: "_s));
    }

    void questionWaitsForWhoTypesIsAnsweredOncePerLookAndGivesTheKeyboardBack()
    {
        QWidget window;
        auto *text = new QPlainTextEdit;
        auto *list = new QTreeWidget;
        DrawerScene scene;
        auto *column = new QVBoxLayout(&window);
        for (QWidget *widget : std::initializer_list<QWidget *>{text, list, &scene.bar})
            column->addWidget(widget);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        text->setFocus();
        scene.letGo->release(9);
        scene.tree.write("to/a", "old");
        scene.tree.write("to/b", "old");
        scene.send("from/a");
        scene.send("from/b");
        QTRY_VERIFY(scene.bar.isVisible());
        QVERIFY(text->hasFocus());
        list->setFocus();
        QTRY_VERIFY(scene.bar.isAncestorOf(QApplication::focusWidget()));
        auto *overwrite = scene.bar.findChild<QPushButton *>(u"conflictOverwrite"_s);
        QTest::mouseClick(overwrite, Qt::LeftButton);
        QTRY_COMPARE(scene.state(0), State::finished);
        QTRY_VERIFY(scene.engine->conflict());
        QTest::mouseDClick(overwrite, Qt::LeftButton);
        QTest::mouseRelease(overwrite, Qt::LeftButton);
        QVERIFY(scene.engine->conflict());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QTRY_VERIFY(!scene.bar.isVisible());
        QVERIFY(list->hasFocus());
        QCOMPARE(scene.tree.read("to/b"), QByteArray("old"));
    }
};

MOORIX_TEST(TransferDrawerTest)
#include "TransferDrawerTest.moc"
