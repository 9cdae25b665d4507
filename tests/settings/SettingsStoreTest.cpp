// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/SettingsStore.h"

#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "support/TestMain.h"

#include <QDir>
#include <QJsonDocument>
#include <QSignalSpy>

#include <limits>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// The settings of a machine with a preferences file and a cloud folder.
struct Machine
{
    Machine(std::initializer_list<TestTree::Entry> entries = {})
        : tree(entries)
    {
    }

    SettingsStore *operator->() const { return settings.get(); }
    QByteArray snapshot() const { return QJsonDocument(settings->snapshot()).toJson(QJsonDocument::Compact); }
    /// The keys announced since the last call.
    QString changedKeys()
    {
        QStringList keys;
        for (const QList<QVariant> &arguments : std::exchange(static_cast<QList<QList<QVariant>> &>(changes), {}))
            keys.append(arguments.first().toString());
        return keys.join(u' ');
    }
    QByteArray cloud(const char *key) const { return tree.read(u"cloud/%1.json"_s.arg(QLatin1String(key))); }
    void arrive(const char *key, const QByteArray &text)
    {
        tree.write(u"cloud/%1.json"_s.arg(QLatin1String(key)), text);
        kv.synchronize();
    }
    /// Ends the program.
    void end()
    {
        settings.reset();
        preferences.flush();
    }

    const TestTree tree;
    Preferences preferences{tree.path("preferences.json")};
    KeyValueStore kv{tree.path("cloud")};
    std::unique_ptr<SettingsStore> settings = std::make_unique<SettingsStore>(preferences, kv);
    QSignalSpy changes{settings.get(), &SettingsStore::settingChanged};
};

} // namespace

class SettingsStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void aFreshInstallationHasItsDefaults()
    {
        const Machine here;
        const QByteArray expected =
            "{'autoCheckUpdates':true,'confirmDeletes':true,'conflictPolicyRaw':'ask','contentFontSize':13,"
            "'dateColumnWidth':175,'defaultLocalPath':'%HOME%',"
            "'diagnosticsEndpoint':'','dualPaneEnabled':true,"
            "'iCloudSyncEnabled':true,'limitTransferSpeed':false,'localFavoritesRaw':'','maxConcurrentTransfers':3,'"
            "openMonitorOnLaunch':false,"
            "'permissionOnboardingDismissed':false,'remoteDiagnosticsEnabled':true,'showHiddenFiles':false,"
            "'showMenuBarIcon':true,'sizeColumnWidth':90,'sortAscending':true,'sortKeyRaw':'Name',"
            "'terminalFontName':'Menlo','terminalFontSize':13,'terminalGPURenderer':false,'terminalLocalEcho':false,"
            "'terminalThemeID':'app','themeID':'midnight','toolbarItemsRaw':'monitor,sort,info,settings,terminal',"
            "'transferSpeedLimit':1000,'updateEndpoint':'https://updates.moorix.example/"
            "update.php','widgetBattery':false,'widgetCPU':true,"
            "'widgetDisk':false,'widgetNet':true,'widgetRAM':true}";
        QCOMPARE(here.snapshot(), QByteArray(expected).replace('\'', '"').replace("%HOME%", QDir::homePath().toUtf8()));
        QCOMPARE(here.tree.snapshot(), TreeSnapshot());
    }

    void changesOfEveryTypeSurviveARestart()
    {
        Machine here;
        here->themeID.set(u"daylight \"ü\""_s);
        here->showHiddenFiles.set(true);
        here->terminalFontSize.set(14.5);
        here->maxConcurrentTransfers.set(6);
        const SettingsSnapshot before = here->snapshot();
        here.end();
        QCOMPARE(Machine({{"preferences.json", here.tree.read("preferences.json")}})->snapshot(), before);
        QCOMPARE(QJsonDocument::fromJson(here.tree.read("preferences.json")).object().size(), 4);
    }

    void storedValuesOfAnotherTypeFallBackToTheDefaultAndNumbersToTheNearerBound()
    {
        const Machine here{
            {"preferences.json",
             R"({"themeID":5,"showHiddenFiles":"yes","dualPaneEnabled":0,"terminalFontSize":1000,)"
             R"("limitTransferSpeed":1,"transferSpeedLimit":-5,"contentFontSize":"14","maxConcurrentTransfers":2.5,"sortKeyRaw":null,"sortAscending":false})"}};
        SettingsSnapshot expected = Machine()->snapshot();
        expected.insert(u"sortAscending"_s, false);
        expected.insert(u"terminalFontSize"_s, 72.0);
        expected.insert(u"transferSpeedLimit"_s, 10);
        QCOMPARE(here->snapshot(), expected);
    }

    void numbersSetAreMovedToTheNearerBoundAndTheSameAgainIsNoChange()
    {
        Machine here;
        for (const double size : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
            here->contentFontSize.set(size);
        QCOMPARE(here->contentFontSize.value(), 8.0);
        here->maxConcurrentTransfers.set(std::numeric_limits<qint64>::max());
        QCOMPARE(here->maxConcurrentTransfers.value(), 8);
        QCOMPARE(here.changedKeys(), u"contentFontSize maxConcurrentTransfers"_s);
    }

    void onlyEarlierStandardToolbarsAreReplaced()
    {
        const auto shown = [](const QByteArray &stored) {
            const Machine here{{"preferences.json", "{\"toolbarItemsRaw\":\"" + stored + "\"}"}};
            return here.preferences.value(u"toolbarItemsRaw"_s).toString().toUtf8();
        };
        for (const char *earlier : {"monitor,sort,info,settings", "monitor,sort,info,settings,terminal,localTerminal"})
            QCOMPARE(shown(earlier), "monitor,sort,info,settings,terminal");
        for (const char *own : {"sort,monitor,info,settings", "monitor,sort,info", ""})
            QCOMPARE(shown(own), own);
    }

    void changesReachTheCloudTogetherAndAtTheLatestAtTheEnd()
    {
        Machine here{{"cloud/", ""}};
        for (const double size : {14.0, 15.0, 16.0})
            here->contentFontSize.set(size);
        QCOMPARE(here.tree.snapshot().size(), 1);
        QTRY_COMPARE(here.cloud("contentFontSize"), QByteArray("16"));
        here->themeID.set(u"daylight"_s);
        here.end();
        QCOMPARE(here.cloud("themeID"), QByteArray("\"daylight\""));
    }

    void whatCouldNotBeSentGoesWithTheNextChange()
    {
        Machine here{{"cloud", "a file where the folder should be"}};
        QSignalSpy failures(&here.kv, &KeyValueStore::writeFailed);
        here->showHiddenFiles.set(true);
        QTRY_VERIFY(failures.count() > 0);
        QFile::remove(here.tree.path("cloud"));
        here->themeID.set(u"daylight"_s);
        here.end();
        QCOMPARE(here.cloud("showHiddenFiles"), QByteArray("true"));
        QCOMPARE(here.cloud("themeID"), QByteArray("\"daylight\""));
    }

    void whatArrivesFromTheCloudIsAppliedStoredAndNotSentBackUnlessItMakesNoSense()
    {
        Machine here{{"preferences.json", "{\"themeID\":\"here\"}"}, {"cloud/themeID.json", "\"elsewhere\""}};
        QCOMPARE(here->themeID.value(), u"elsewhere"_s);
        // Out of bounds: an echo would write the corrected number back.
        here.arrive("maxConcurrentTransfers", "99");
        for (const char *text : {"", "5", "[\"x\"]", "null", "\"half"})
            here.arrive("themeID", text);
        here.arrive("unknownKey", "1");
        QCOMPARE(here.changedKeys(), u"maxConcurrentTransfers"_s);
        QCOMPARE(here->themeID.value(), u"elsewhere"_s);
        QCOMPARE(here.preferences.value(u"maxConcurrentTransfers"_s), QJsonValue(8));
        here.end();
        QCOMPARE(here.cloud("maxConcurrentTransfers"), QByteArray("99"));
    }

    void aChangeStillWaitingToBeSentOutlivesAnOlderOneThatArrives()
    {
        Machine here{{"cloud/", ""}};
        here->themeID.set(u"just chosen"_s);
        here.arrive("themeID", "\"older\"");
        QCOMPARE(here->themeID.value(), u"just chosen"_s);
        here.end();
        QCOMPARE(here.cloud("themeID"), QByteArray("\"just chosen\""));
    }

    void theSwitchGatesTheCloudAndStaysOnThisMachine()
    {
        Machine here{{"cloud/", ""}};
        here->iCloudSyncEnabled.set(false);
        here->showHiddenFiles.set(true);
        here.arrive("themeID", "\"elsewhere\"");
        here.arrive("iCloudSyncEnabled", "true");
        QCOMPARE(here->themeID.value(), u"midnight"_s);
        QVERIFY(!here->iCloudSyncEnabled.value());

        here->iCloudSyncEnabled.set(true);
        QCOMPARE(here->themeID.value(), u"elsewhere"_s);
        here.arrive("iCloudSyncEnabled", "false");
        QVERIFY(here->iCloudSyncEnabled.value());
        here.end();
        QVERIFY(!here.tree.exists("cloud/showHiddenFiles.json"));
    }

    void anotherCloudFolderGetsWhatWasChangedHereAndItLacks()
    {
        Machine here{{"other/themeID.json", "\"midnight\""}};
        here.kv.setFolder(QString());
        here->contentFontSize.set(20);
        here->themeID.set(u"daylight"_s);
        here.kv.setFolder(here.tree.path("other"));
        QCOMPARE(here->themeID.value(), u"midnight"_s);
        QCOMPARE(here.tree.read("other/contentFontSize.json"), "20");
        QVERIFY(!here.tree.exists("other/sortKeyRaw.json"));
    }

    void aSnapshotReplacesAllSettingsItHolds()
    {
        Machine here;
        here->terminalFontName.set(u"kept"_s);
        here.changedKeys();
        const SettingsSnapshot snapshot{{u"themeID"_s, u"daylight"_s},
                                        {u"showHiddenFiles"_s, u"not a switch"_s},
                                        {u"contentFontSize"_s, 1},
                                        {u"unknown"_s, 1}};
        here->apply(snapshot);
        QCOMPARE(here.changedKeys(), u"themeID contentFontSize"_s);
        QCOMPARE(here->terminalFontName.value(), u"kept"_s);

        const Machine other;
        other->apply(here->snapshot());
        QCOMPARE(other->snapshot(), here->snapshot());
    }

    void aSnapshotThatTurnsTheCloudOnReplacesWhatTheCloudHolds()
    {
        Machine here{{"preferences.json", "{\"iCloudSyncEnabled\":false}"},
                     {"cloud/showHiddenFiles.json", "true"},
                     {"cloud/sortKeyRaw.json", "\"Size\""}};
        here->apply({{u"iCloudSyncEnabled"_s, true}, {u"showHiddenFiles"_s, false}});
        QCOMPARE(here->showHiddenFiles.value(), false);
        QCOMPARE(here->sortKeyRaw.value(), u"Size"_s);
        here.end();
        QCOMPARE(here.cloud("showHiddenFiles"), QByteArray("false"));
    }
};

MOORIX_TEST(SettingsStoreTest)
#include "SettingsStoreTest.moc"
