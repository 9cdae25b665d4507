// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include <QMenu>
#include <QMenuBar>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void f5CopiesTheSelectionAlsoAfterAMenuThatGreyedTheCommand()
    {
        WindowBench bench({{"left/a.txt", "text"}, {"left/b.txt", "other"}});
        QMenu *help = bench.window->menuBar()->actions().last()->menu();
        bench.pane(Side::left)->setSelection({});
        help->popup(bench.window->mapToGlobal(QPoint(20, 20)));
        help->close();
        bench.activateList(Side::left);
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        QTRY_COMPARE(bench.home.read("right/a.txt"), "text");
        QVERIFY(bench.home.exists("left/a.txt"));
        QVERIFY(!bench.home.exists("right/b.txt"));
        QTRY_COMPARE(bench.pane(Side::right)->displayedCount(), 1);
    }

    void f6MovesFromTheActiveSideWhicheverItIs()
    {
        WindowBench bench({{"right/a.txt", "text"}});
        bench.key(Qt::Key_Tab);
        QCOMPARE(bench.model->activeSide(), Side::right);
        bench.select(Side::right, "a.txt");
        bench.key(Qt::Key_F6);
        QTRY_COMPARE(bench.home.read("left/a.txt"), "text");
        QTRY_VERIFY(!bench.home.exists("right/a.txt"));
    }

    void tabsOpenCloseAndComeBackAtTheNextStart()
    {
        WindowBench bench({{"left/", ""}, {"elsewhere/", ""}});
        bench.key(Qt::Key_T, Qt::ControlModifier);
        PaneTabs &tabs = bench.model->tabs(Side::left);
        QCOMPARE(tabs.sessions().size(), 2);
        QCOMPARE(tabs.currentIndex(), 1);
        tabs.openLocalHere(bench.home.path("elsewhere"));
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("elsewhere"));
        bench.restart();
        PaneTabs &again = bench.model->tabs(Side::left);
        QCOMPARE(again.sessions().size(), 2);
        QCOMPARE(again.currentIndex(), 1);
        QCOMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("elsewhere"));
        QCOMPARE(bench.pane(Side::right)->currentPath(), bench.home.path("right"));
        QVERIFY(!bench.pane(Side::left)->canGoBack());
        bench.key(Qt::Key_W, Qt::ControlModifier);
        bench.key(Qt::Key_W, Qt::ControlModifier);
        QCOMPARE(again.sessions().size(), 1);
    }

    void conflictIsAskedInsideTheWindow_data()
    {
        QTest::addColumn<TreeSnapshot>("after");
        QTest::newRow("conflictSkip") << TreeSnapshot{{u"a.txt"_s, "old"}};
        QTest::newRow("conflictOverwrite") << TreeSnapshot{{u"a.txt"_s, "newer"}};
        QTest::newRow("conflictKeepBoth") << TreeSnapshot{{u"a.txt"_s, "old"}, {u"a 2.txt"_s, "newer"}};
        QTest::newRow("conflictCancel") << TreeSnapshot{{u"a.txt"_s, "old"}};
    }

    void conflictIsAskedInsideTheWindow()
    {
        QFETCH(const TreeSnapshot, after);
        WindowBench bench({{"left/a.txt", "newer"}, {"right/a.txt", "old"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        QTRY_VERIFY(bench.find("conflictBar"));
        QVERIFY(bench.find<QLabel>("conflictExisting")->text().contains(u"3 bytes"_s));
        QVERIFY(bench.find<QLabel>("conflictSource")->text().contains(u"5 bytes"_s));
        bench.click(bench.find("conflictCompare"));
        QTRY_COMPARE(bench.find<QLabel>("conflictComparison")->text(), u"They differ from line 1 on."_s);
        bench.click(bench.find(QTest::currentDataTag()));
        QTRY_VERIFY(!bench.find("conflictBar"));
        QTRY_COMPARE(snapshotOf(bench.home.path("right")), after);
    }

    void closingDuringATransferAsksFirst()
    {
        WindowBench bench({{"left/a.txt", "new"}, {"right/a.txt", "old"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        QTRY_VERIFY(bench.find("conflictBar"));
        bench.window->close();
        QVERIFY(bench.window->isVisible());
        bench.click(bench.find("messageBarConfirm"));
        QVERIFY(!bench.window->isVisible());
        QCOMPARE(bench.home.read("right/a.txt"), "old");
    }

    void hidingOneSideKeepsTheKeyboardOnTheOther()
    {
        WindowBench bench({});
        bench.key(Qt::Key_Tab);
        QCOMPARE(bench.model->activeSide(), Side::right);
        bench.key(Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(bench.model->settings().dualPaneEnabled.value(), false);
        QCOMPARE(bench.model->activeSide(), Side::left);
        bench.key(Qt::Key_Tab);
        QCOMPARE(bench.model->activeSide(), Side::left);
        QVERIFY(QApplication::focusWidget() && QApplication::focusWidget()->isVisible());
    }

    void favouriteFolderStandsInTheSidebarAndOpens()
    {
        WindowBench bench({{"left/", ""}});
        bench.key(Qt::Key_D, Qt::ControlModifier);
        auto *sidebar = bench.find<QTreeWidget>("sidebar");
        const QList<QTreeWidgetItem *> found = sidebar->findItems(u"left"_s, Qt::MatchExactly | Qt::MatchRecursive);
        QCOMPARE(found.size(), 1);
        bench.model->setActiveSide(Side::right);
        const QRect row = sidebar->visualItemRect(found.first());
        QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, row.center());
        QTRY_COMPARE(bench.pane(Side::right)->currentPath(), bench.home.path("left"));
        QCOMPARE(bench.model->activeSide(), Side::right);
    }

    void refusedConnectionSaysWhyAndCanBeRetried()
    {
        WindowBench bench({}, WindowBench::refusal);
        bench.quickConnect("me@192.0.2.1");
        QTRY_VERIFY(bench.find("failureView"));
        QCOMPARE(bench.model->activeSide(), Side::left);
        QVERIFY(bench.find<QLabel>("failureSentence")->text().contains(u"192.0.2.1"_s));
        QVERIFY(bench.find<QLabel>("clientWords")->text().contains(u"Connection refused"_s));
        QVERIFY(!bench.find("editServer"));
        const qsizetype tries = bench.runner->requests().size();
        bench.click(bench.find("retry"));
        QTRY_VERIFY(bench.runner->requests().size() > tries && bench.find("failureView"));
    }

    void mistypedAddressStaysInTheBar()
    {
        WindowBench bench({});
        bench.quickConnect("me@web:ssh");
        QVERIFY(bench.find<QLabel>("quickProblem")->text().contains(u"“ssh”"_s));
        QCOMPARE(bench.model->tabs(Side::left).sessions().size(), 1);
        bench.key(Qt::Key_Escape);
        QVERIFY(!bench.find("quickConnect"));
        QCOMPARE(bench.model->activeSide(), Side::left);
    }

    void changedHostKeyIsTrustedOnlyAfterASecondClick()
    {
        WindowBench bench({}, [](const ProcessRequest &request) {
            if (request.program.endsWith(u"sftp"_s))
                return ProcessResult{255,
                                     false,
                                     {},
                                     "@ WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED! @\n"
                                     "Host key verification failed.\nConnection closed\n"};
            if (request.arguments.contains(u"-G"_s))
                return ProcessResult{0, false, "hostname web-01\nuserknownhostsfile /dev/null\n", {}};
            if (request.arguments.contains(u"-F"_s))
                return ProcessResult{0, false, "web-01 ED25519 SHA256:oldKey\n", {}};
            if (request.program.endsWith(u"ssh-keyscan"_s))
                return ProcessResult{0, false, "web-01 ssh-ed25519 AAAA\n", {}};
            if (request.arguments.contains(u"-l"_s))
                return ProcessResult{0, false, "256 SHA256:newKey web-01 (ED25519)\n", {}};
            return ProcessResult{};
        });
        bench.quickConnect("me@web-01");
        QTRY_VERIFY(bench.find("hostKeyPanel"));
        QTRY_VERIFY(bench.find<QLabel>("knownKeys")->text().contains(u"SHA256:oldKey"_s));
        const auto removals = [&bench] {
            return std::ranges::count_if(bench.runner->requests(), [](const ProcessRequest &request) {
                return request.arguments.contains(u"-R"_s);
            });
        };
        QTRY_COMPARE(bench.find<QLabel>("offeredKeys")->text(), u"ED25519 SHA256:newKey"_s);
        QVERIFY(!bench.find("trustKey"));
        bench.click(bench.find("replaceKey"));
        QCOMPARE(removals(), 0);
        bench.click(bench.find("trustKey"));
        QTRY_COMPARE(removals(), 1);
    }

    void filterFieldNarrowsTheActiveListOnly()
    {
        WindowBench bench({{"left/apple", ""}, {"left/pear", ""}, {"right/pear", ""}, {"right/plum", ""}});
        auto *filter = bench.find<QLineEdit>("toolbarFilter");
        QTest::keyClicks(filter, u"ppl"_s);
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 1);
        QCOMPARE(bench.pane(Side::right)->displayedCount(), 2);
        bench.model->setActiveSide(Side::right);
        QCOMPARE(filter->text(), QString());
    }
};

MOORIX_TEST(MainWindowTest)
#include "MainWindowTest.moc"
