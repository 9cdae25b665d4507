// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Preferences.h"

#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QSignalSpy>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

class PreferencesTest : public QObject
{
    Q_OBJECT

private slots:
    void aDamagedFileIsSetAsideAndNeverLost()
    {
        for (const QByteArray &text : {QByteArray("{\"themeID\":"), QByteArray("[1]"), QByteArray()}) {
            const TestTree tree{{"preferences.json", text}};
            Preferences preferences(tree.path("preferences.json"));
            QVERIFY(preferences.value(u"themeID"_s).isUndefined());
            preferences.setValue(u"themeID"_s, u"x"_s);
            preferences.flush();
            const auto after = tree.snapshot();
            QCOMPARE(after.size(), 2);
            QVERIFY(after.lastKey().startsWith(u"preferences.json.corrupt-"_s));
            QCOMPARE(after.last(), text);
        }
    }

    void changesAreWrittenByThemselvesWithTheirTypes()
    {
        const TestTree tree{{"preferences.json", "{\"kept\":\"1\",\"changed\":1}"}};
        Preferences preferences(tree.path("preferences.json"));
        preferences.setValue(u"changed"_s, 2.5);
        preferences.setValue(u"on"_s, true);
        QTRY_COMPARE(tree.read("preferences.json"),
                     QByteArray("{\n    \"changed\": 2.5,\n    \"kept\": \"1\",\n    \"on\": true\n}\n"));
    }

    void aFailureIsToldAndWhatIsUnsavedIsWrittenAtTheEnd()
    {
        const TestTree tree{{"folder", "a file where the folder should be"}};
        {
            Preferences preferences(tree.path("folder/preferences.json"));
            QSignalSpy failures(&preferences, &Preferences::saveFailed);
            preferences.setValue(u"on"_s, true);
            preferences.flush();
            QCOMPARE(failures.count(), 1);
            QVERIFY(failures.first().first().toString().contains(tree.path("folder/preferences.json")));
            QFile::remove(tree.path("folder"));
        }
        QCOMPARE(tree.read("folder/preferences.json"), QByteArray("{\n    \"on\": true\n}\n"));
    }
};

MOORIX_TEST(PreferencesTest)
#include "PreferencesTest.moc"
