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
using namespace Qt::StringLiterals;
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
    QByteArray cloud(const char *key) const { return tree.read(u"cloud/%1.json"_s.arg(QLatin1String(key))); }
    void arrive(const char *key, const QByteArray &text)
    {
        tree.write(u"cloud/%1.json"_s.arg(QLatin1String(key)), text);
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
        SettingsSnapshot before;
        {
            const Fixture fixture(tree);
            fixture.settings->themeID.set(u"daylight \"ü\""_s);
            fixture.settings->showHiddenFiles.set(true);
            fixture.settings->terminalFontSize.set(14.5);
            fixture.settings->maxConcurrentTransfers.set(6);
            before = fixture.settings->snapshot();
        }
        QCOMPARE(Fixture(tree).settings->snapshot(), before);
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
        expected.insert(u"sortAscending"_s, false);
        QCOMPARE(fixture.settings->snapshot(), expected);
    }

    void numbersAreMovedToTheNearerBound()
    {
        const TestTree tree{{"preferences.json", "{\"terminalFontSize\":1000}"}};
        Fixture fixture(tree);
        QCOMPARE(fixture.settings->terminalFontSize.value(), 72.0);
        fixture.settings->contentFontSize.set(0);
        QCOMPARE(fixture.settings->contentFontSize.value(), 8.0);
        fixture.settings->contentFontSize.set(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(fixture.settings->contentFontSize.value(), 8.0);
        fixture.settings->maxConcurrentTransfers.set(std::numeric_limits<qint64>::max());
        QCOMPARE(fixture.settings->maxConcurrentTransfers.value(), 8);
    }

    void settingTheSameValueAgainIsNoChange()
    {
        const TestTree tree;
        Fixture fixture(tree);
        for (const double size : {200, 300}) // both beyond the bound
            fixture.settings->contentFontSize.set(size);
        QCOMPARE(fixture.changedKeys(), QStringList{u"contentFontSize"_s});
    }

    void onlyEarlierStandardToolbarsAreReplaced()
    {
        const QString standard = u"monitor,sort,info,settings,terminal"_s;
        const auto shown = [](const QString &stored) {
            const TestTree tree;
            Preferences(tree.path("preferences.json")).setValue(u"toolbarItemsRaw"_s, stored);
            const Fixture fixture(tree);
            return fixture.preferences.value(u"toolbarItemsRaw"_s).toString();
        };
        QCOMPARE(shown(u"monitor,sort,info,settings"_s), standard);
        QCOMPARE(shown(u"monitor,sort,info,settings,terminal,localTerminal"_s), standard);
        for (const QString &own : {u"sort,monitor,info,settings"_s, u"monitor,sort,info"_s, QString()})
            QCOMPARE(shown(own), own);
    }

    void changesReachTheCloudTogetherAndAtTheLatestAtTheEnd()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        for (const double size : {14.0, 15.0, 16.0})
            fixture.settings->contentFontSize.set(size);
        QCOMPARE(tree.snapshot().size(), 1);
        QTRY_COMPARE(fixture.cloud("contentFontSize"), QByteArray("16"));
        fixture.settings->themeID.set(u"daylight"_s);
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("themeID"), QByteArray("\"daylight\""));
    }

    void whatCouldNotBeSentGoesWithTheNextChange()
    {
        const TestTree tree{{"cloud", "a file where the folder should be"}};
        Fixture fixture(tree);
        QSignalSpy failures(&fixture.kv, &KeyValueStore::writeFailed);
        fixture.settings->showHiddenFiles.set(true);
        QTRY_VERIFY(failures.count() > 0);
        QFile::remove(tree.path("cloud"));
        fixture.settings->themeID.set(u"daylight"_s);
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("showHiddenFiles"), QByteArray("true"));
        QCOMPARE(fixture.cloud("themeID"), QByteArray("\"daylight\""));
    }

    void whatArrivesFromTheCloudIsAppliedStoredAndNotSentBack()
    {
        const TestTree tree{{"preferences.json", "{\"themeID\":\"here\"}"}, {"cloud/themeID.json", "\"elsewhere\""}};
        Fixture fixture(tree);
        QCOMPARE(fixture.settings->themeID.value(), u"elsewhere"_s);
        // Out of bounds: an echo would write the corrected number back.
        fixture.arrive("maxConcurrentTransfers", "99");
        QCOMPARE(fixture.changedKeys(), QStringList{u"maxConcurrentTransfers"_s});
        QCOMPARE(fixture.preferences.value(u"maxConcurrentTransfers"_s), QJsonValue(8));
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("maxConcurrentTransfers"), QByteArray("99"));
    }

    void cloudValuesThatMakeNoSenseChangeNothing()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        for (const char *text : {"", "5", "[\"x\"]", "null", "\"half"})
            fixture.arrive("themeID", text);
        fixture.arrive("unknownKey", "1");
        QCOMPARE(fixture.changedKeys(), QStringList());
        QCOMPARE(fixture.settings->themeID.value(), u"midnight"_s);
    }

    void aChangeStillWaitingToBeSentOutlivesAnOlderOneThatArrives()
    {
        const TestTree tree{{"cloud/", ""}};
        Fixture fixture(tree);
        fixture.settings->themeID.set(u"just chosen"_s);
        fixture.arrive("themeID", "\"older\"");
        QCOMPARE(fixture.settings->themeID.value(), u"just chosen"_s);
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
        QCOMPARE(fixture.settings->themeID.value(), u"midnight"_s);
        QVERIFY(!fixture.settings->iCloudSyncEnabled.value());

        fixture.settings->iCloudSyncEnabled.set(true);
        QCOMPARE(fixture.settings->themeID.value(), u"elsewhere"_s);
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
        fixture.settings->themeID.set(u"daylight"_s);
        tree.write("other/themeID.json", "\"midnight\"");
        fixture.kv.setFolder(tree.path("other"));
        QCOMPARE(fixture.settings->themeID.value(), u"midnight"_s);
        QCOMPARE(tree.read("other/contentFontSize.json"), "20");
        QVERIFY(!tree.exists("other/sortKeyRaw.json"));
    }

    void aSnapshotReplacesAllSettingsItHolds()
    {
        const TestTree tree;
        Fixture fixture(tree);
        fixture.settings->terminalFontName.set(u"kept"_s);
        fixture.changedKeys();
        fixture.settings->apply({{u"themeID"_s, u"daylight"_s},
                                 {u"showHiddenFiles"_s, u"not a switch"_s},
                                 {u"contentFontSize"_s, 1},
                                 {u"unknown"_s, 1}});
        QCOMPARE(fixture.changedKeys(), (QStringList{u"themeID"_s, u"contentFontSize"_s}));
        QCOMPARE(fixture.settings->terminalFontName.value(), u"kept"_s);

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
        fixture.settings->apply({{u"iCloudSyncEnabled"_s, true}, {u"showHiddenFiles"_s, false}});
        QCOMPARE(fixture.settings->showHiddenFiles.value(), false);
        QCOMPARE(fixture.settings->sortKeyRaw.value(), u"Size"_s);
        fixture.settings.reset();
        QCOMPARE(fixture.cloud("showHiddenFiles"), QByteArray("false"));
    }
};

MOORIX_TEST(SettingsStoreTest)
#include "SettingsStoreTest.moc"
