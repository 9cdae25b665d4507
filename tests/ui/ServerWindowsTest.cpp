// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include "ui/Theme.h"

#include <QComboBox>
#include <QSpinBox>
#include <QToolButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The server library, its form, and the preferences, in the real window.
class ServerWindowsTest : public QObject
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
        bench.model->settings().contentFontSize.set(13);
    }

    void everySettingHasARowInThePreferences()
    {
        WindowBench bench({});
        bench.key(Qt::Key_Comma, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("preferencesWindow"));
        // Favourites are edited in the sidebar.
        SettingsSnapshot settings = bench.model->settings().snapshot();
        settings.remove(u"localFavoritesRaw"_s);
        QStringList missing;
        for (const QString &key : settings.keys()) {
            if (!bench.find("preferencesWindow")->findChild<QWidget *>(key))
                missing += key;
        }
        QCOMPARE(missing, QStringList());
    }
};

MOORIX_TEST(ServerWindowsTest)
#include "ServerWindowsTest.moc"
