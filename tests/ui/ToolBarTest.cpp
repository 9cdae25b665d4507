// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "ui/CommandNames.h"
#include "ui/toolbar/ToolBarItems.h"

#include <QDropEvent>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QToolBar>
#include <QToolButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The toolbar as the user puts it together.
class ToolBarTest final : public QObject
{
    Q_OBJECT

    static QToolButton *buttonOf(const WindowBench &bench, const QString &text)
    {
        for (auto *button : bench.window->findChild<QToolBar *>(u"toolbarItems"_s)->findChildren<QToolButton *>()) {
            if (button->defaultAction() && button->defaultAction()->text() == text)
                return button;
        }
        return nullptr;
    }
    static QListWidget *selectIn(const WindowBench &bench, const char *list, const QString &text)
    {
        auto *widget = bench.find<QListWidget>(list);
        widget->setCurrentItem(widget->findItems(text, Qt::MatchExactly).value(0));
        widget->setFocus();
        return widget;
    }

private slots:
    void namesOfOtherVersionsStayInTheSetting()
    {
        const QStringList &standard = ToolBarItems::standard();
        const QString raw = u" sort, future ,monitor,copyToOtherSide,sort,,separator,other"_s;
        QCOMPARE(ToolBarItems::shown(raw), standard + QStringList({u"sort"_s, u"monitor"_s, u"separator"_s}));
        QCOMPARE(ToolBarItems::replacing(raw, standard + QStringList{u"rename"_s, u"sort"_s}),
                 u"rename,sort,future,other"_s);
        QCOMPARE(ToolBarItems::replacing(raw, standard), u"future,other"_s);
        // Arranged from the left end on, with nothing left but two, and with nothing at all.
        const QString whole = ToolBarItems::replacing(raw, {u"sync"_s, u"separator"_s, u"separator"_s, u"connect"_s});
        QCOMPARE(whole, u"whole,sync,separator,separator,connect,future,other"_s);
        QCOMPARE(ToolBarItems::shown(whole), (QStringList{u"sync"_s, u"separator"_s, u"separator"_s, u"connect"_s}));
        QCOMPARE(ToolBarItems::shown(ToolBarItems::replacing(whole, {})), QStringList());
        QCOMPARE(ToolBarItems::replacing(whole, standard), u"future,other"_s);
    }

    void everyCommandOfTheMenusHasANameAndAPlaceOnTheToolbar()
    {
        const QStringList all = ToolBarItems::all();
        for (const WindowActions::Menu &menu : WindowActions::menus()) {
            for (const WindowActions::Entry &command : menu.entries) {
                const QString name = CommandNames::nameOf(command);
                const bool isLine = std::holds_alternative<std::monostate>(command);
                QVERIFY2(isLine == name.isEmpty(), qPrintable(WindowActions::textOf(command)));
                QVERIFY2(isLine || CommandNames::commandOf(name) == command, qPrintable(name));
                QVERIFY2(isLine || all.count(name) == 1, qPrintable(name));
            }
        }
        for (const QString &name : all)
            QVERIFY2(!ToolBarItems::textOf(name).isEmpty() && !ToolBarItems::iconNameOf(name).isEmpty(),
                     qPrintable(name));
    }

    void itemsAreAddedMovedAndRemovedByKeyAndShownAtOnce()
    {
        WindowBench bench({});
        Setting<QString> &setting = bench.model->settings().toolbarItemsRaw;
        setting.set(u"monitor,future"_s);
        bench.choose(bench.window->findChildren<QAction *>(), "Customise toolbar");
        QTRY_VERIFY(bench.find("toolbarEditor"));
        QVERIFY(!buttonOf(bench, u"Rename"_s) && buttonOf(bench, u"Monitor"_s));
        QTest::keyClick(selectIn(bench, "toolbarAvailable", u"Rename"_s), Qt::Key_Return);
        QCOMPARE(setting.value(), u"monitor,rename,future"_s);
        QVERIFY(buttonOf(bench, u"Rename"_s));
        QTest::keyClick(selectIn(bench, "toolbarShown", u"Rename"_s), Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(setting.value(), u"rename,monitor,future"_s);
        QTest::keyClick(selectIn(bench, "toolbarShown", u"Monitor"_s), Qt::Key_Delete);
        QCOMPARE(setting.value(), u"rename,future"_s);
        QTRY_VERIFY(!buttonOf(bench, u"Monitor"_s));
        bench.click(bench.find("toolbarRestore"));
        QCOMPARE(setting.value(), setting.fallBack() + u",future"_s);
    }

    void whatIsStandardAtFirstIsMovedAndRemovedLikeTheRest()
    {
        WindowBench bench({});
        Setting<QString> &setting = bench.model->settings().toolbarItemsRaw;
        bench.choose(bench.window->findChildren<QAction *>(), "Customise toolbar");
        QTRY_VERIFY(bench.find("toolbarEditor"));
        for (const auto &name : {u"Copy to other side"_s, u"Connect"_s})
            QTest::keyClick(selectIn(bench, "toolbarShown", name), Qt::Key_Delete);
        QTRY_VERIFY(!buttonOf(bench, u"Connect"_s) && !buttonOf(bench, u"Copy to other side"_s));
        auto *shown = bench.find<QListWidget>("toolbarShown");
        shown->setCurrentRow(0);
        // Of two separators the one that is moved stays the current one.
        for (int step = 0; step < 4; ++step)
            QTest::keyClick(shown, Qt::Key_Down, Qt::AltModifier);
        QVERIFY2(setting.value().startsWith(u"whole,moveToOtherSide,newFolder,remove,separator,separator,compare"_s),
                 qPrintable(setting.value()));
        QCOMPARE(shown->currentRow(), 4);
        QCOMPARE(bench.find<QListWidget>("toolbarAvailable")->findItems(u"Separator"_s, Qt::MatchExactly).size(), 1);
        bench.restart();
        QVERIFY(!buttonOf(bench, u"Connect"_s) && buttonOf(bench, u"Move to other side"_s));
    }

    void rowDraggedToTheOtherListComesOntoTheToolbar()
    {
        WindowBench bench({});
        bench.choose(bench.window->findChildren<QAction *>(), "Customise toolbar");
        QTRY_VERIFY(bench.find("toolbarEditor"));
        auto *available = selectIn(bench, "toolbarAvailable", u"Rename"_s);
        auto *shown = bench.find<QListWidget>("toolbarShown");
        const std::unique_ptr<QMimeData> row(available->model()->mimeData({available->currentIndex()}));
        const QPoint top = shown->visualItemRect(shown->item(0)).topLeft() + QPoint(20, 1);
        const auto send = [shown](QDropEvent &&event) {
            QCoreApplication::sendEvent(shown->viewport(), &event);
            QVERIFY(event.isAccepted());
        };
        send(QDragEnterEvent(top, Qt::MoveAction, row.get(), Qt::LeftButton, Qt::NoModifier));
        send(QDragMoveEvent(top, Qt::MoveAction, row.get(), Qt::LeftButton, Qt::NoModifier));
        send(QDropEvent(top, Qt::MoveAction, row.get(), Qt::LeftButton, Qt::NoModifier));
        QTRY_COMPARE(bench.model->settings().toolbarItemsRaw.value(), u"whole,rename,"_s +
                                                                          ToolBarItems::standard().join(u',') +
                                                                          u",monitor,sort,info,settings,terminal"_s);
        QVERIFY(available->findItems(u"Rename"_s, Qt::MatchExactly).isEmpty());
    }

    void contextMenuTakesAnItemOff()
    {
        WindowBench bench({});
        QToolButton *button = buttonOf(bench, u"Monitor"_s);
        emit static_cast<QToolBar *>(button->parentWidget())->customContextMenuRequested(button->geometry().center());
        const QList<QMenu *> menus = bench.window->findChildren<QMenu *>();
        QMenu *menu = *std::ranges::find_if(menus, &QMenu::isVisible);
        menu->actions().first()->trigger();
        menu->close();
        QCOMPARE(bench.model->settings().toolbarItemsRaw.value(), u"sort,info,settings,terminal"_s);
        QTRY_VERIFY(!buttonOf(bench, u"Monitor"_s) && buttonOf(bench, u"New folder"_s));
    }

    void narrowWindowKeepsTheFilterAndPutsTheRestIntoAMenu()
    {
        WindowBench bench({{"left/apple", ""}, {"left/pear", ""}});
        QStringList names = ToolBarItems::all();
        bench.model->settings().toolbarItemsRaw.set(names.join(u','));
        bench.window->resize(620, 500);
        QTRY_VERIFY(bench.find("qt_toolbar_ext_button"));
        // It is seen, too: the style had left its icon no room.
        const QImage drawn = bench.find("qt_toolbar_ext_button")->grab().toImage();
        QSet<QRgb> colors;
        for (int x = 0; x < drawn.width(); ++x)
            colors.insert(drawn.pixel(x, drawn.height() / 2));
        QVERIFY(colors.size() > 1);
        auto *filter = bench.find<QLineEdit>("toolbarFilter");
        QVERIFY(filter && filter->visibleRegion().boundingRect().width() == filter->width());
        QTest::keyClicks(filter, u"ppl"_s);
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 1);
    }
};

MOORIX_TEST(ToolBarTest)
#include "ToolBarTest.moc"
