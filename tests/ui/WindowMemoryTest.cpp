// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "app/ListColumns.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "ui/Theme.h"

#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QMenu>
#include <QSpinBox>
#include <QSplitter>
#include <QToolButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// What the window keeps: the library of servers, the preferences, and how it stood at the end of a run.
class WindowMemoryTest final : public QObject
{
    Q_OBJECT

    /// Types into a line or into that of a secret, in place of what it holds.
    static void type(const WindowBench &bench, const char *field, const QString &text)
    {
        auto *line = bench.find<QLineEdit>(field);
        QLineEdit *input = line ? line : bench.find(field)->findChild<QLineEdit *>();
        input->selectAll();
        QTest::keyClicks(input, text);
    }

    static void openForm(const WindowBench &bench)
    {
        bench.key(Qt::Key_N, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("connectionForm"));
    }

    static QString stored(const WindowBench &bench, const QUuid &server)
    {
        return bench.model->keychain()->get(server, SecretKind::password).value_or(u"none"_s);
    }

private slots:
    void columnChosenInOneListIsInAllListsAndAtTheNextStart()
    {
        WindowBench bench({});
        bench.window->resize(1500, 500);
        QHeaderView *header = bench.list(Side::left)->header();
        QVERIFY(header->isSectionHidden(3));
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), header->mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(header->viewport(), &event);
        bench.choose(bench.find<QMenu>("headerMenu")->actions(), "Permissions");
        QVERIFY(!bench.list(Side::right)->header()->isSectionHidden(3));
        header->resizeSection(3, 137);
        QTRY_COMPARE(bench.model->columns().width(ListColumns::Column::permissions), 137);
        QCOMPARE(bench.list(Side::right)->header()->sectionSize(3), 137);
        header->resizeSection(1, 111);
        QTRY_COMPARE(bench.model->settings().sizeColumnWidth.value(), 111);
        bench.restart();
        for (const Side side : {Side::left, Side::right}) {
            QCOMPARE(bench.list(side)->header()->sectionSize(3), 137);
            QCOMPARE(bench.list(side)->header()->sectionSize(1), 111);
            QVERIFY(bench.list(side)->header()->isSectionHidden(4));
        }
        // Too little room for all of them changes what is shown, not what is remembered.
        bench.window->resize(720, 500);
        QTRY_VERIFY(bench.list(Side::left)->header()->isSectionHidden(3));
        QVERIFY(bench.list(Side::left)->header()->sectionSize(0) >= 150);
        bench.window->resize(1500, 500);
        QTRY_COMPARE(bench.list(Side::left)->header()->sectionSize(3), 137);
    }

    void columnsOfADamagedMemoryAreTheUsualOnes()
    {
        for (const char *columns : {"7", R"({"owner": true, "size": {"shown": 1}})",
                                    R"({"owner": {"width": 1e9}, "permissions": {"width": -3}})"}) {
            const TestTree tree{{"preferences.json", R"({"window.columns": )" + QByteArray(columns) + "}"}};
            Preferences preferences(tree.path("preferences.json"));
            KeyValueStore cloud{QString()};
            SettingsStore settings(preferences, cloud);
            const ListColumns memory(settings, preferences);
            QVERIFY(memory.isShown(ListColumns::Column::size) && !memory.isShown(ListColumns::Column::owner));
            for (const ListColumns::Column column : ListColumns::all)
                QVERIFY(memory.width(column) >= 40 && memory.width(column) <= 600);
        }
    }

    void tabsOfServersComeBackUnconnectedAndConnectOnAClick()
    {
        WindowBench bench({}, WindowBench::refusal);
        const ServerConnection server = bench.addServer(u"web-01"_s);
        const ServerConnection forgotten = bench.addServer(u"forgotten"_s);
        PaneTabs &tabs = bench.model->tabs(Side::right);
        tabs.openServer(forgotten, std::nullopt, std::nullopt);
        tabs.openServers();
        tabs.openServer(server, std::nullopt, u"/var/www"_s);
        QTRY_VERIFY(bench.find("failureView"));
        bench.model->removeServer(forgotten.id);
        const qsizetype tries = bench.runner->requests().size();
        bench.restart();
        PaneTabs &again = bench.model->tabs(Side::right);
        QCOMPARE(again.sessions().size(), 3);
        QCOMPARE(again.sessions().at(1)->mode(), PaneMode::servers);
        QCOMPARE(again.currentIndex(), 2);
        QCOMPARE(again.current().folder(), u"/var/www"_s);
        QVERIFY(bench.find("dormantView"));
        QCOMPARE(bench.runner->requests().size(), tries);
        bench.key(Qt::Key_Tab);
        bench.key(Qt::Key_Return);
        QTRY_VERIFY(bench.find("failureView"));
        QVERIFY(bench.runner->requests().size() > tries);
    }

    void swappedSidesAndTheirDividerStaySwapped()
    {
        WindowBench bench({});
        auto *sides = bench.find<QSplitter>("sideSplitter");
        const auto firstSide = [&sides] { return qobject_cast<SideView *>(sides->widget(0))->side(); };
        QCOMPARE(firstSide(), Side::left);
        sides->setSizes({300, 700});
        bench.key(Qt::Key_U, Qt::ControlModifier);
        QCOMPARE(firstSide(), Side::right);
        const QList<int> before = sides->sizes();
        QVERIFY(before.at(0) > before.at(1));
        bench.restart();
        sides = bench.find<QSplitter>("sideSplitter");
        QCOMPARE(firstSide(), Side::right);
        QVERIFY(std::abs(sides->sizes().at(0) - before.at(0)) <= 2);
        QCOMPARE(bench.pane(Side::right)->currentPath(), bench.home.path("right"));
        QTest::mouseDClick(sides->handle(1), Qt::LeftButton);
        QVERIFY(std::abs(sides->sizes().at(0) - sides->sizes().at(1)) <= 1);
        bench.key(Qt::Key_U, Qt::ControlModifier);
        QCOMPARE(firstSide(), Side::left);
    }

    void heightOfTheTransfersIsMovedByKeysRememberedAndLeavesTheSidesInSight()
    {
        WindowBench bench({{"left/a.txt", "a"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F5);
        bench.window->resize(900, 700);
        const auto drawer = [&bench] { return bench.find("transferDrawer"); };
        const auto edge = [&bench] { return bench.find<QSplitter>("drawerSplitter")->handle(1); };
        bench.key(Qt::Key_J, Qt::ControlModifier);
        const int usual = drawer()->height();
        QTest::keyClick(edge(), Qt::Key_PageUp);
        QTest::keyClick(edge(), Qt::Key_Down);
        const int chosen = drawer()->height();
        QVERIFY(chosen > usual);
        bench.window->resize(900, 400);
        QTRY_VERIFY(drawer()->height() < chosen);
        QVERIFY(bench.list(Side::left)->viewport()->height() > 0);
        bench.window->resize(900, 700);
        QTRY_COMPARE(drawer()->height(), chosen);
        bench.restart();
        bench.window->resize(900, 700);
        bench.key(Qt::Key_J, Qt::ControlModifier);
        QTRY_COMPARE(drawer()->height(), chosen);
        for (const Qt::Key key : {Qt::Key_Home, Qt::Key_End}) {
            QTest::keyClick(edge(), key);
            QVERIFY(bench.list(Side::left)->viewport()->height() > 50);
            QVERIFY(drawer()->height() > 100);
        }
        QTest::mouseDClick(edge(), Qt::LeftButton);
        QCOMPARE(drawer()->height(), usual);
    }

    void orderAndHiddenFilesChosenLastAreThoseOfNewTabs()
    {
        WindowBench bench({{"left/.dot", ""}, {"left/big", "12345"}, {"left/small", "1"}});
        QHeaderView *header = bench.list(Side::left)->header();
        const QPoint sizeColumn(header->sectionViewportPosition(1) + 20, header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, sizeColumn);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, sizeColumn);
        bench.key(Qt::Key_H, Qt::ControlModifier);
        bench.key(Qt::Key_T, Qt::ControlModifier);
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 3);
        QCOMPARE(bench.pane(Side::left)->displayedItem(0).name, u"big"_s);
        bench.restart();
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 3);
        QCOMPARE(bench.pane(Side::left)->displayedItem(0).name, u"big"_s);
    }

    void commandLineReplacesTheTabsOfBothSidesAndAddsFurtherOnes()
    {
        WindowBench bench({{"one/", ""}, {"two/", ""}, {"three/", ""}}, WindowBench::refusal);
        bench.addServer(u"web-01"_s);
        bench.window->openTargets({bench.home.path("one"), u"web-01:/var/www"_s, bench.home.path("three")});
        PaneTabs &left = bench.model->tabs(Side::left);
        QCOMPARE(left.sessions().size(), 2);
        QTRY_COMPARE(left.sessions().at(0)->folder(), bench.home.path("one"));
        QTRY_COMPARE(left.current().folder(), bench.home.path("three"));
        PaneTabs &right = bench.model->tabs(Side::right);
        QCOMPARE(right.sessions().size(), 1);
        QCOMPARE(right.current().folder(), u"/var/www"_s);
        bench.window->openTargets({u"nobody:/srv"_s});
        QTRY_VERIFY(bench.find<QLabel>("statusMessage")->text().contains(u"“nobody”"_s));
        // What a page of the web may name is not connected to, only offered.
        bench.window->openTargets({u"sftp://new.example/srv"_s});
        QVERIFY(bench.find<QLineEdit>("quickAddress")->isVisible());
        QCOMPARE(bench.find<QLineEdit>("quickAddress")->text(), u"sftp://new.example/srv"_s);
        QCOMPARE(left.sessions().size(), 2);
    }

    void tabOfAFolderThatIsGoneShowsTheNearestOneAndIsRememberedStill()
    {
        WindowBench bench({{"disk/photos/2026/", ""}});
        const QString gone = bench.home.path("disk/photos/2026");
        bench.pane(Side::left)->load(gone, false);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), gone);
        bench.window->close();
        bench.stop();
        QDir(bench.home.path("disk/photos")).removeRecursively();
        bench.start();
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("disk"));
        const Session &session = bench.model->tabs(Side::left).current();
        QVERIFY2(session.notice().contains(gone), qPrintable(session.notice()));
        QVERIFY(!bench.pane(Side::left)->errorMessage());
        QDir().mkpath(gone);
        bench.restart();
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), gone);
        // Whoever goes elsewhere has left the folder that was gone.
        QDir(bench.home.path("disk/photos")).removeRecursively();
        bench.restart();
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("disk"));
        bench.pane(Side::left)->load(bench.home.path("right"), true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("right"));
        QDir().mkpath(gone);
        bench.restart();
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("right"));
    }

    void filledFormSavesTheServerAndItsPassword()
    {
        WindowBench bench({});
        openForm(bench);
        type(bench, "host", u"web-01"_s);
        type(bench, "username", u"deploy"_s);
        type(bench, "password", u"geheim"_s);
        bench.click(bench.find("saveServer"));
        QTRY_VERIFY(!bench.find("connectionForm"));
        const QList<ServerConnection> servers = bench.model->servers().library().servers;
        QCOMPARE(servers.size(), 1);
        QCOMPARE(servers.first().username + u'@' + servers.first().host, u"deploy@web-01"_s);
        QCOMPARE(stored(bench, servers.first().id), u"geheim"_s);
        QVERIFY(!bench.home.read("data/Moorix/servers.json").contains("geheim"));
    }

    void incompleteFormIsNotSavedAndSaysWhatIsMissing()
    {
        WindowBench bench({});
        openForm(bench);
        type(bench, "host", u"me@web"_s);
        bench.click(bench.find("saveServer"));
        QVERIFY(bench.find<QLabel>("problem0")->text().contains(u"user name"_s));
        QVERIFY(bench.find("problem2"));
        QVERIFY(bench.find("connectionForm"));
        QVERIFY(bench.model->servers().library().servers.isEmpty());
    }

    void editingLeavesAStoredPasswordUnlessItIsRemoved()
    {
        WindowBench bench({});
        const ServerConnection server = bench.addServer(u"web-01"_s);
        bench.model->keychain()->set(u"geheim"_s, server.id, SecretKind::password);
        bench.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        auto *tree = bench.find<QTreeView>("serverTree");
        QVERIFY(tree);
        for (const bool isRemoved : {false, true}) {
            QTest::keyClick(tree, Qt::Key_Return, Qt::AltModifier);
            QTRY_VERIFY(bench.find("connectionForm"));
            const auto *password = bench.find("password")->findChild<QLineEdit *>();
            QTRY_COMPARE(password->placeholderText(), u"•••• stored"_s);
            QCOMPARE(password->text(), QString());
            if (isRemoved)
                bench.click(bench.find("password")->findChild<QToolButton *>(u"forgetSecret"_s));
            type(bench, "serverName", isRemoved ? u"second"_s : u"first"_s);
            bench.click(bench.find("saveServer"));
            QTRY_VERIFY(!bench.find("connectionForm"));
            QCOMPARE(bench.model->servers().server(server.id)->name, isRemoved ? u"second"_s : u"first"_s);
            QCOMPARE(stored(bench, server.id), isRemoved ? u"none"_s : u"geheim"_s);
        }
    }

    void usualPortFollowsTheProtocolButAChosenOneStays()
    {
        WindowBench bench({});
        openForm(bench);
        auto *protocol = bench.find<QComboBox>("protocol");
        auto *port = bench.find<QSpinBox>("port");
        protocol->setCurrentText(u"FTPS"_s);
        QCOMPARE(port->value(), 21);
        QVERIFY(!bench.find("authMethod"));
        QVERIFY(bench.find("useTLS"));
        port->setValue(2121);
        protocol->setCurrentText(u"SFTP"_s);
        QCOMPARE(port->value(), 2121);
        QVERIFY(bench.find("authMethod"));
        QVERIFY(!bench.find("useTLS"));
    }

    void deletedFolderKeepsItsServersAfterAQuestion()
    {
        WindowBench bench({});
        ServerFolder folder;
        folder.name = u"Clients"_s;
        bench.model->servers().updateFolder(folder);
        const ServerConnection inside = bench.addServer(u"web-01"_s, folder.id);
        bench.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.find("serverTree"));
        bench.key(Qt::Key_F8);
        const auto *question = bench.find<QLabel>("messageBarText");
        QVERIFY(question->text().contains(u"Servers and subfolders inside move up one level"_s));
        QVERIFY(bench.model->servers().folder(folder.id));
        bench.click(bench.find("messageBarConfirm"));
        QVERIFY(!bench.model->servers().folder(folder.id));
        QCOMPARE(bench.model->servers().server(inside.id)->folderID, std::nullopt);
    }

    void emptyLibraryAndFruitlessSearchSayWhatToDo()
    {
        WindowBench bench({});
        bench.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.find("serverLibraryEmpty"));
        QVERIFY(bench.find<QLabel>("emptyHint")->text().contains(u"New server"_s));
        bench.addServer(u"web-01"_s);
        QVERIFY(!bench.find("serverLibraryEmpty"));
        QTest::keyClicks(bench.find<QLineEdit>("serverSearch"), u"zzz"_s);
        QVERIFY(bench.find<QLabel>("emptyTitle")->text().contains(u"“zzz”"_s));
    }

    void themeAndTextSizeChangeAtOnceAndGoBackToTheDefault()
    {
        WindowBench bench({});
        const QColor before = Theme::color(Theme::Color::window);
        bench.key(Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("preferencesWindow"));
        auto *theme = bench.find<QComboBox>("themeID");
        QTest::keyClick(theme, Qt::Key_Down);
        QCOMPARE(bench.model->settings().themeID.value(), Theme::all().at(1).id);
        QVERIFY(Theme::color(Theme::Color::window) != before);
        bench.click(bench.find("reset_themeID"));
        QCOMPARE(bench.model->settings().themeID.value(), Theme::all().at(0).id);
        QCOMPARE(Theme::color(Theme::Color::window), before);
        QVERIFY(!bench.find("reset_themeID"));
        bench.model->settings().contentFontSize.set(20);
        QCOMPARE(QApplication::font().pixelSize(), 20);
        // Headlines stand out at any size.
        for (const QLabel *label : bench.find("preferencesWindow")->findChildren<QLabel *>()) {
            if (label->property("role") == u"headline"_s && label->isVisible())
                QCOMPARE(label->fontInfo().pixelSize(), 25);
        }
        bench.model->settings().contentFontSize.set(13);
    }

    void everySettingHasARowInThePreferences()
    {
        WindowBench bench({});
        bench.key(Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("preferencesWindow"));
        // Favourites are edited in the sidebar, the toolbar on a page of its own; the introduction is in the Help menu.
        SettingsSnapshot settings = bench.model->settings().snapshot();
        settings.remove(u"localFavoritesRaw"_s);
        settings.remove(u"toolbarItemsRaw"_s);
        settings.remove(u"permissionOnboardingDismissed"_s);
        QStringList missing;
        for (const QString &key : settings.keys()) {
            if (!bench.find("preferencesWindow")->findChild<QWidget *>(key))
                missing += key;
        }
        QCOMPARE(missing, QStringList());
    }
};

MOORIX_TEST(WindowMemoryTest)
#include "WindowMemoryTest.moc"
