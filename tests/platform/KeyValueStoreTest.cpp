// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

/// The two stores of small values: one a folder that others write to as well, one a file of this machine.
class KeyValueStoreTest final : public QObject
{
    Q_OBJECT

private slots:
    void changesFromOutsideAreAnnouncedAndOwnWritesAreNot()
    {
        const TestTree tree{{"a.json", "1"}, {"gone.json", "1"}};
        KeyValueStore store(tree.path());
        QSignalSpy changes(&store, &KeyValueStore::changedExternally);
        QVERIFY(store.setValue(u"own"_s, "mine"));
        // Everything that the watcher says from now on goes through one look at the folder.
        tree.write("a.json", "2");
        tree.write("new.json", "3");
        tree.write("notes.txt", "not ours");
        QFile::remove(tree.path("gone.json"));
        QTRY_VERIFY(changes.count() > 0);
        QCOMPARE(changes.first().first().toStringList(), (QStringList{u"a"_s, u"gone"_s, u"new"_s}));
        QCOMPARE(store.value(u"a"_s), std::optional(QByteArray("2")));
        QVERIFY(!store.value(u"gone"_s));
        QCOMPARE(store.value(u"own"_s), std::optional(QByteArray("mine")));
    }

    void aFileReplacedByRenamingIsSeenTwice()
    {
        const TestTree tree{{"a.json", "1"}};
        KeyValueStore store(tree.path());
        for (const QByteArray &text : {QByteArray("2"), QByteArray("3")}) {
            tree.write("incoming", text);
            QVERIFY(QFile::remove(tree.path("a.json")) && QFile::rename(tree.path("incoming"), tree.path("a.json")));
            QTRY_COMPARE(store.value(u"a"_s), std::optional(text));
        }
    }

    void keysThatAreNoFileNamesSurvive()
    {
        const TestTree tree;
        const QString key = u"a/../b%:ü"_s;
        QVERIFY(KeyValueStore(tree.path()).setValue(key, "1"));
        QCOMPARE(tree.snapshot().size(), 1);
        QCOMPARE(KeyValueStore(tree.path()).value(key), std::optional(QByteArray("1")));
    }

    void anotherFolderAnnouncesWhatItHolds()
    {
        const TestTree tree{{"one/a.json", "1"}, {"two/a.json", "1"}, {"two/b.json", "2"}};
        KeyValueStore store(tree.path("one"));
        QSignalSpy changes(&store, &KeyValueStore::changedExternally);
        store.setFolder(tree.path("two"));
        QCOMPARE(changes.count(), 1);
        QCOMPARE(changes.first().first().toStringList(), (QStringList{u"a"_s, u"b"_s}));
        tree.write("two/b.json", "3");
        QTRY_COMPARE(store.value(u"b"_s), std::optional(QByteArray("3")));
    }

    void aFolderThatCannotBeWrittenToIsToldAndNoneAtAllIsNot()
    {
        const TestTree tree{{"folder", "a file"}};
        for (const QString &folder : {tree.path("folder"), QString()}) {
            KeyValueStore store(folder);
            QSignalSpy failures(&store, &KeyValueStore::writeFailed);
            QVERIFY(!store.setValue(u"a"_s, "1"));
            QCOMPARE(failures.count(), folder.isEmpty() ? 0 : 1);
            QVERIFY(!store.value(u"a"_s));
        }
    }

    void damagedPreferencesAreSetAsideAndNeverLost()
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

    void changedPreferencesAreWrittenByThemselvesWithTheirTypes()
    {
        const TestTree tree{{"preferences.json", "{\"kept\":\"1\",\"changed\":1}"}};
        Preferences preferences(tree.path("preferences.json"));
        preferences.setValue(u"changed"_s, 2.5);
        preferences.setValue(u"on"_s, true);
        QTRY_COMPARE(tree.read("preferences.json"),
                     QByteArray("{\n    \"changed\": 2.5,\n    \"kept\": \"1\",\n    \"on\": true\n}\n"));
    }

    void failureToSavePreferencesIsToldAndTheyAreWrittenAtTheEnd()
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

MOORIX_TEST(KeyValueStoreTest)
#include "KeyValueStoreTest.moc"
