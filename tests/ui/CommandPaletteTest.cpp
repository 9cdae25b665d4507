// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "platform/Preferences.h"
#include "ui/palette/PaletteSearch.h"
#include "ui/palette/RecentPlaces.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QListView>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Everything by a few letters, from the keyboard alone.
class CommandPaletteTest final : public QObject
{
    Q_OBJECT

    static PaletteEntry entry(const char *text, const char *detail = "", const char *synonyms = "")
    {
        PaletteEntry made;
        made.id = made.text = QString::fromUtf8(text);
        made.detail = QString::fromUtf8(detail);
        made.synonyms = QString::fromUtf8(synonyms);
        return made;
    }
    static void type(const WindowBench &bench, const QString &text)
    {
        bench.key(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.find("commandPalette") && QApplication::focusWidget() == bench.find("paletteQuery"));
        QTest::keyClicks(QApplication::focusWidget(), text);
        // It hides no part of the toolbar, and cuts none of its own.
        const QWidget *palette = bench.find("commandPalette");
        QVERIFY(palette->y() > bench.window->centralWidget()->y());
        const QWidget *list = bench.find("paletteList");
        const QWidget *lowest = list ? list : bench.find("paletteNothing");
        QVERIFY(palette->contentsRect().contains(lowest->geometry()));
        QVERIFY(bench.find("paletteQuery")->height() >= bench.find("paletteQuery")->sizeHint().height());
    }
    /// What the first row is read out as.
    static QString firstRow(const WindowBench &bench)
    {
        const auto *list = bench.find<QListView>("paletteList");
        return list ? list->model()->index(0, 0).data(Qt::AccessibleTextRole).toString() : QString();
    }

private slots:
    void betterPlacesComeFirstThenWhatWasUsedLast()
    {
        QList<PaletteEntry> entries{entry("Rename"),
                                    entry("New folder", "", "create directory"),
                                    entry("Show hidden files", "", "dot"),
                                    entry("Connect to “nordlicht”", "ada@web.example"),
                                    entry("Übersicht"),
                                    entry("New file")};
        entries[5].isEnabled = false;
        const auto found = [&entries](const char *query, const QStringList &recent = {}) {
            QStringList texts;
            for (const qsizetype index : PaletteSearch(entries, recent).find(QString::fromUtf8(query)))
                texts << entries.at(index).text;
            return texts.join(u'|');
        };
        QCOMPARE(found("fi"), u"Show hidden files|New file"_s);
        QCOMPARE(found("new"), u"New folder|New file"_s);
        // What cannot be run sinks only among equals that were used as long ago.
        QCOMPARE(found("new", {u"New file"_s}), u"New file|New folder"_s);
        QCOMPARE(found("direc new"), u"New folder"_s);
        QCOMPARE(found("WEB.ex conn"), u"Connect to “nordlicht”"_s);
        QCOMPARE(found("ubers"), u"Übersicht"_s);
        QCOMPARE(found("shf"), u"Show hidden files"_s);
        QCOMPARE(found("hws"), QString());
        QVERIFY(found("", {u"Übersicht"_s, u"New folder"_s}).startsWith(u"Übersicht|New folder|Rename|"_s));
    }

    void commandRunsWhereTheKeyboardWasAndComesFirstTheNextTime()
    {
        WindowBench bench({{"right/a.txt", "text"}});
        bench.activateList(Side::right);
        bench.select(Side::right, "a.txt");
        type(bench, u"upload copy"_s);
        QVERIFY2(firstRow(bench).startsWith(u"Copy to other side"_s), qPrintable(firstRow(bench)));
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(bench.home.read("left/a.txt"), "text");
        QVERIFY(!bench.find("commandPalette") && bench.list(Side::right)->hasFocus());
        bench.restart();
        type(bench, {});
        QVERIFY2(firstRow(bench).startsWith(u"Copy to other side"_s), qPrintable(firstRow(bench)));
    }

    void escapeOrAClickElsewhereClosesIt()
    {
        WindowBench bench({});
        bench.activateList(Side::right);
        type(bench, u"no such thing"_s);
        QVERIFY(bench.find("paletteNothing") && !bench.find("paletteList"));
        bench.key(Qt::Key_Escape);
        QVERIFY(!bench.find("commandPalette") && bench.list(Side::right)->hasFocus());
        type(bench, {});
        bench.activateList(Side::left);
        QVERIFY(!bench.find("commandPalette") && bench.list(Side::left)->hasFocus());
    }

    void whatCannotBeRunSaysWhyAndStays()
    {
        WindowBench bench({{"left/a.txt", "text"}});
        type(bench, u"disconnect"_s);
        QCOMPARE(firstRow(bench), u"Disconnect, not available, This tab is not connected to a server., Ctrl+Shift+K"_s);
        bench.key(Qt::Key_Return);
        QVERIFY(bench.find("commandPalette"));
        bench.key(Qt::Key_Escape);
        // Nothing is selected, but the command would take the entry under the cursor.
        bench.pane(Side::left)->setSelection({});
        type(bench, u"rename"_s);
        QCOMPARE(firstRow(bench), u"Rename, File, F2"_s);
    }

    void serversTabsAndFoldersAreFound()
    {
        WindowBench bench({{"left/deep/er/", ""}, {"elsewhere/", ""}}, WindowBench::refusal);
        bench.addServer(u"nordlicht"_s);
        bench.pane(Side::left)->load(bench.home.path("left/deep/er"), true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("left/deep/er"));
        bench.pane(Side::left)->load(bench.home.path("elsewhere"), true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("elsewhere"));
        type(bench, u"deep/er"_s);
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("left/deep/er"));
        type(bench, u"tab right"_s);
        bench.key(Qt::Key_Return);
        QCOMPARE(bench.model->activeSide(), Side::right);
        type(bench, u"nordl"_s);
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(bench.model->tabs(Side::right).current().title(), u"nordlicht"_s);
    }

    void arrowsGoRoundAndPagesStopAtTheEnds()
    {
        WindowBench bench({});
        type(bench, {});
        const auto *list = bench.find<QListView>("paletteList");
        const int last = list->model()->rowCount() - 1;
        const auto rowAfter = [&](Qt::Key pressed) {
            bench.key(pressed);
            return list->currentIndex().row();
        };
        QVERIFY(last > 40);
        QCOMPARE(rowAfter(Qt::Key_Up), last);
        QCOMPARE(rowAfter(Qt::Key_PageDown), last);
        QCOMPARE(rowAfter(Qt::Key_Down), 0);
        QCOMPARE(rowAfter(Qt::Key_PageUp), 0);
        QCOMPARE(rowAfter(Qt::Key_PageDown), 11);
        // Tab would leave the field for whatever comes next in the window.
        QCOMPARE(rowAfter(Qt::Key_Tab), 11);
        QVERIFY(QApplication::focusWidget() == bench.find("paletteQuery"));
    }

    void narrowWindowShowsAllOfIt()
    {
        WindowBench bench({});
        type(bench, {});
        for (const QSize size : {QSize(1400, 900), QSize(700, 420)}) {
            bench.window->resize(size);
            QApplication::processEvents();
            const QWidget *palette = bench.find("commandPalette");
            QVERIFY(bench.window->rect().contains(palette->geometry()));
            QVERIFY(palette->rect().contains(bench.find("paletteList")->geometry()));
        }
    }

    void whatWasUsedLastIsKeptInOrderAndDamagedEntriesAreLeftOut()
    {
        const TestTree home;
        const QUuid server = QUuid::createUuid();
        {
            Preferences preferences(home.path("preferences.json"));
            preferences.setValue(u"window.recentFolders"_s, QJsonArray{7, u"relative"_s, u"/a"_s, QJsonObject()});
            RecentPlaces recent(preferences);
            QCOMPARE(recent.folders().size(), 1);
            QCOMPARE(recent.folders().first().path, u"/a"_s);
            for (int i = 0; i < 40; ++i)
                recent.noteFolder({{}, u"/%1"_s.arg(i)});
            recent.noteFolder({server, u"/srv"_s});
            recent.noteFolder({{}, u"/20"_s});
            recent.noteFolder({{}, {}});
            recent.noteEntry(u"one"_s);
            recent.noteEntry(u"two"_s);
            recent.noteEntry(u"one"_s);
        }
        Preferences preferences(home.path("preferences.json"));
        const RecentPlaces recent(preferences);
        QCOMPARE(recent.folders().size(), 30);
        QCOMPARE(recent.folders().at(0), (RecentPlaces::Place{{}, u"/20"_s}));
        QCOMPARE(recent.folders().at(1), (RecentPlaces::Place{server, u"/srv"_s}));
        QCOMPARE(std::ranges::count(recent.folders(), u"/20"_s, &RecentPlaces::Place::path), 1);
        QCOMPARE(recent.entries(), (QStringList{u"one"_s, u"two"_s}));
    }
};

MOORIX_TEST(CommandPaletteTest)
#include "CommandPaletteTest.moc"
