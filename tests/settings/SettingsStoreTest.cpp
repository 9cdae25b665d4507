// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SettingsStore.h"

#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>

#include <limits>

using namespace moorix;
using moorix::test::TestTree;

namespace {

/// The settings over a preferences file and a cloud folder in a tree.
struct Fixture
{
    explicit Fixture(const TestTree &where)
        : tree(where)
        , preferences(tree.path("preferences.json"))
        , kv(tree.path("cloud"))
        , settings(std::make_unique<SettingsStore>(preferences, kv))
        , changes(settings.get(), &SettingsStore::settingChanged)
    {
    }

    /// The keys announced since the last call.
    QStringList changedKeys()
    {
        QStringList keys;
        for (const QList<QVariant> &arguments : std::exchange(static_cast<QList<QList<QVariant>> &>(changes), {}))
            keys.append(arguments.first().toString());
        return keys;
    }
    QByteArray cloud(const char *key) const
    {
        return tree.read(QStringLiteral("cloud/%1.json").arg(QLatin1String(key)));
    }
    void arrive(const char *key, const QByteArray &text)
    {
        tree.write(QStringLiteral("cloud/%1.json").arg(QLatin1String(key)), text);
        kv.synchronize();
    }

    const TestTree &tree;
    Preferences preferences;
    KeyValueStore kv;
    std::unique_ptr<SettingsStore> settings;
    QSignalSpy changes;
};

} // namespace

class SettingsStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void aFreshInstallationHasItsDefaults()
    {
        const TestTree tree;
        const Fixture fixture(tree);
        const QByteArray expected = "{'autoCheckUpdates':true,'confirmDeletes':true,'conflictPolicyRaw':'ask',"
                                    "'contentFontSize':13,'dateColumnWidth':175,'defaultLocalPath':'%HOME%',"
                                    "'diagnosticsEndpoint':'https://diagnostics.moorix.example/v1/checkin',"
                                    "'dualPaneEnabled':true,'iCloudSyncEnabled':true,'localFavoritesRaw':'',"
                                    "'maxConcurrentTransfers':3,'openMonitorOnLaunch':false,"
                                    "'permissionOnboardingDismissed':false,'remoteDiagnosticsEnabled':true,"
                                    "'showHiddenFiles':false,'showMenuBarIcon':true,'sizeColumnWidth':90,"
                                    "'sortAscending':true,'sortKeyRaw':'Name','terminalFontName':'Menlo',"
                                    "'terminalFontSize':13,'terminalGPURenderer':false,'terminalLocalEcho':false,"
                                    "'terminalThemeID':'app','themeID':'midnight',"
                                    "'toolbarItemsRaw':'monitor,sort,info,settings,terminal',"
                                    "'updateEndpoint':'https://updates.moorix.example/v1/check',"
                                    "'widgetBattery':false,'widgetCPU':true,'widgetDisk':false,'widgetNet':true,"
                                    "'widgetRAM':true}";
        QCOMPARE(QJsonDocument(fixture.settings->snapshot()).toJson(QJsonDocument::Compact),
                 QByteArray(expected).replace('\'', '"').replace("%HOME%", QDir::homePath().toUtf8()));
        QVERIFY(!tree.exists("preferences.json"));
        QVERIFY(!tree.exists("cloud"));
    }

    void changesOfEveryTypeSurviveARestart()
    {
        const TestTree tree;
        {
            const Fixture fixture(tree);
            fixture.settings->themeID.set(QStringLiteral("daylight \"ü\""));
            fixture.settings->showHiddenFiles.set(true);
            fixture.settings->terminalFontSize.set(14.5);
            fixture.settings->maxConcurrentTransfers.set(6);
        }
        const Fixture fixture(tree);
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("daylight \"ü\""));
        QCOMPARE(fixture.settings->showHiddenFiles.value(), true);
        QCOMPARE(fixture.settings->terminalFontSize.value(), 14.5);
        QCOMPARE(fixture.settings->maxConcurrentTransfers.value(), 6);
        QCOMPARE(QJsonDocument::fromJson(tree.read("preferences.json")).object().size(), 4);
    }

    void storedValuesOfAnotherTypeFallBackToTheDefault()
    {
        const TestTree tree{{"preferences.json",
                             "{\"themeID\":5,\"showHiddenFiles\":\"yes\",\"dualPaneEnabled\":0,"
                             "\"terminalFontSize\":\"14\",\"maxConcurrentTransfers\":2.5,\"sortKeyRaw\":null,"
                             "\"sortAscending\":false}"}};
        const Fixture fixture(tree);
        SettingsSnapshot expected = Fixture(TestTree()).settings->snapshot();
        expected.insert(QStringLiteral("sortAscending"), false);
        QCOMPARE(fixture.settings->snapshot(), expected);
    }

    void numbersAreMovedToTheNearerBound()
    {
        const TestTree tree{{"preferences.json", "{\"terminalFontSize\":1000,\"maxConcurrentTransfers\":-4}"}};
        Fixture fixture(tree);
        QCOMPARE(fixture.settings->terminalFontSize.value(), 72.0);
        QCOMPARE(fixture.settings->maxConcurrentTransfers.value(), 1);
        fixture.settings->contentFontSize.set(0);
        QCOMPARE(fixture.settings->contentFontSize.value(), 8.0);
        fixture.settings->maxConcurrentTransfers.set(std::numeric_limits<qint64>::max());
        QCOMPARE(fixture.settings->maxConcurrentTransfers.value(), 8);
        fixture.settings->contentFontSize.set(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(fixture.settings->contentFontSize.value(), 8.0);
    }

    void settingTheSameValueAgainIsNoChange()
    {
        const TestTree tree;
        Fixture fixture(tree);
        fixture.settings->sortAscending.set(false);
        fixture.settings->sortAscending.set(false);
        fixture.settings->contentFontSize.set(200);
        fixture.settings->contentFontSize.set(300);
        QCOMPARE(fixture.changedKeys(),
                 (QStringList{QStringLiteral("sortAscending"), QStringLiteral("contentFontSize")}));
    }

    void onlyEarlierStandardToolbarsAreReplaced_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("shown");
        const QString standard = QStringLiteral("monitor,sort,info,settings,terminal");
        const auto own = [](const char *layout) {
            QTest::newRow(layout) << QString::fromLatin1(layout) << QString::fromLatin1(layout);
        };
        QTest::newRow("without terminal") << QStringLiteral("monitor,sort,info,settings") << standard;
        QTest::newRow("with local terminal")
            << QStringLiteral("monitor,sort,info,settings,terminal,localTerminal") << standard;
        own("monitor,sort,info");
        own("sort,monitor,info,settings");
        own("monitor,sort,info,settings,localTerminal");
        own("");
    }
    void onlyEarlierStandardToolbarsAreReplaced()
    {
        QFETCH(const QString, stored);
        QFETCH(const QString, shown);
        const TestTree tree;
        tree.write("preferences.json",
                   QJsonDocument(QJsonObject{{QStringLiteral("toolbarItemsRaw"), stored}}).toJson());
        const Fixture fixture(tree);
        QCOMPARE(fixture.settings->toolbarItemsRaw.value(), shown);
        QCOMPARE(fixture.preferences.value(QStringLiteral("toolbarItemsRaw")), QJsonValue(shown));
    }

    void changesReachTheCloudTogetherAndAtTheLatestAtTheEnd()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        for (const double size : {14.0, 15.0, 16.0})
            fixture.settings->contentFontSize.set(size);
        fixture.settings->themeID.set(QStringLiteral("daylight"));
        QCOMPARE(tree.snapshot().size(), 1);
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("contentFontSize"), QByteArray("16"));
        QCOMPARE(fixture.cloud("themeID"), QByteArray("\"daylight\""));
    }

    void changesReachTheCloudByThemselves()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        fixture.settings->showHiddenFiles.set(true);
        QTRY_COMPARE(fixture.cloud("showHiddenFiles"), QByteArray("true"));
    }

    void whatCouldNotBeSentGoesWithTheNextChange()
    {
        const TestTree tree{{"cloud", "a file where the folder should be"}};
        Fixture fixture(tree);
        QSignalSpy failures(&fixture.kv, &KeyValueStore::writeFailed);
        fixture.settings->showHiddenFiles.set(true);
        QTRY_VERIFY(failures.count() > 0);
        QFile::remove(tree.path("cloud"));
        fixture.settings->themeID.set(QStringLiteral("daylight"));
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("showHiddenFiles"), QByteArray("true"));
        QCOMPARE(fixture.cloud("themeID"), QByteArray("\"daylight\""));
    }

    void whatArrivesFromTheCloudIsAppliedStoredAndNotSentBack()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        // Out of bounds: an echo would write the corrected number back.
        fixture.arrive("maxConcurrentTransfers", "99");
        fixture.arrive("themeID", "\"daylight\"");
        QCOMPARE(fixture.changedKeys(),
                 (QStringList{QStringLiteral("maxConcurrentTransfers"), QStringLiteral("themeID")}));
        QCOMPARE(fixture.settings->maxConcurrentTransfers.value(), 8);
        QCOMPARE(fixture.preferences.value(QStringLiteral("themeID")), QJsonValue(QStringLiteral("daylight")));
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("maxConcurrentTransfers"), QByteArray("99"));
    }

    void cloudValuesThatMakeNoSenseChangeNothing_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char *text : {"", "5", "{}", "[\"x\"]", "null", "\"half"})
            QTest::newRow(text) << QByteArray(text);
    }
    void cloudValuesThatMakeNoSenseChangeNothing()
    {
        QFETCH(const QByteArray, text);
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        fixture.arrive("themeID", text);
        fixture.arrive("unknownKey", "1");
        QCOMPARE(fixture.changedKeys(), QStringList());
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("midnight"));
    }

    void whatChangedElsewhereMeanwhileCountsAtStart()
    {
        const TestTree tree{{"preferences.json", "{\"themeID\":\"here\"}"}, {"cloud/themeID.json", "\"elsewhere\""}};
        const Fixture fixture(tree);
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("elsewhere"));
    }

    void aChangeStillWaitingToBeSentOutlivesAnOlderOneThatArrives()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        fixture.settings->themeID.set(QStringLiteral("just chosen"));
        fixture.arrive("themeID", "\"older\"");
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("just chosen"));
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("themeID"), QByteArray("\"just chosen\""));
    }

    void theSwitchGatesTheCloudAndStaysOnThisMachine()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        fixture.settings->iCloudSyncEnabled.set(false);
        fixture.settings->showHiddenFiles.set(true);
        fixture.arrive("themeID", "\"elsewhere\"");
        fixture.arrive("iCloudSyncEnabled", "true");
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("midnight"));
        QVERIFY(!fixture.settings->iCloudSyncEnabled.value());

        fixture.settings->iCloudSyncEnabled.set(true);
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("elsewhere"));
        fixture.arrive("iCloudSyncEnabled", "false");
        QVERIFY(fixture.settings->iCloudSyncEnabled.value());
        fixture.settings.reset();
        QVERIFY(!tree.exists("cloud/showHiddenFiles.json"));
    }

    void anotherCloudFolderGetsWhatWasChangedHereAndItLacks()
    {
        const TestTree tree{{"other/", ""}};
        Fixture fixture(tree);
        fixture.kv.setFolder(QString());
        fixture.settings->contentFontSize.set(20);
        fixture.settings->themeID.set(QStringLiteral("daylight"));
        tree.write("other/themeID.json", "\"midnight\"");
        fixture.kv.setFolder(tree.path("other"));
        QCOMPARE(fixture.settings->themeID.value(), QStringLiteral("midnight"));
        QCOMPARE(tree.read("other/contentFontSize.json"), "20");
        QVERIFY(!tree.exists("other/sortKeyRaw.json"));
    }

    void aSnapshotReplacesAllSettingsItHolds()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        SettingsSnapshot snapshot{{QStringLiteral("themeID"), QStringLiteral("daylight")},
                                  {QStringLiteral("showHiddenFiles"), QStringLiteral("not a switch")},
                                  {QStringLiteral("contentFontSize"), 1},
                                  {QStringLiteral("unknown"), 1}};
        fixture.settings->terminalFontName.set(QStringLiteral("kept"));
        fixture.changedKeys();
        fixture.settings->apply(snapshot);
        QCOMPARE(fixture.changedKeys(), (QStringList{QStringLiteral("themeID"), QStringLiteral("contentFontSize")}));
        QCOMPARE(fixture.settings->terminalFontName.value(), QStringLiteral("kept"));

        const TestTree otherTree;
        const Fixture other(otherTree);
        other.settings->apply(fixture.settings->snapshot());
        QCOMPARE(other.settings->snapshot(), fixture.settings->snapshot());
    }

    void aSnapshotThatTurnsTheCloudOnReplacesWhatTheCloudHolds()
    {
        const TestTree tree{{"preferences.json", "{\"iCloudSyncEnabled\":false}"},
                            {"cloud/showHiddenFiles.json", "true"},
                            {"cloud/sortKeyRaw.json", "\"Size\""}};
        Fixture fixture(tree);
        fixture.settings->apply(
            {{QStringLiteral("iCloudSyncEnabled"), true}, {QStringLiteral("showHiddenFiles"), false}});
        QCOMPARE(fixture.settings->showHiddenFiles.value(), false);
        QCOMPARE(fixture.settings->sortKeyRaw.value(), QStringLiteral("Size"));
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("showHiddenFiles"), QByteArray("false"));
    }
};

MOORIX_TEST(SettingsStoreTest)
#include "SettingsStoreTest.moc"
