// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/KeyValueStore.h"

#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QSignalSpy>

using namespace moorix;
using moorix::test::TestTree;

class KeyValueStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void changesFromOutsideAreAnnouncedAndOwnWritesAreNot()
    {
        const TestTree tree{{"a.json", "1"}, {"gone.json", "1"}};
        KeyValueStore store(tree.path());
        QSignalSpy changes(&store, &KeyValueStore::changedExternally);
        QVERIFY(store.setValue(QStringLiteral("own"), "mine"));
        // Everything that the watcher says from now on goes through one look at the folder.
        tree.write("a.json", "2");
        tree.write("new.json", "3");
        tree.write("notes.txt", "not ours");
        QFile::remove(tree.path("gone.json"));
        QTRY_VERIFY(changes.count() > 0);
        QCOMPARE(changes.first().first().toStringList(),
                 (QStringList{QStringLiteral("a"), QStringLiteral("gone"), QStringLiteral("new")}));
        QCOMPARE(store.value(QStringLiteral("a")), std::optional(QByteArray("2")));
        QVERIFY(!store.value(QStringLiteral("gone")));
        QCOMPARE(store.value(QStringLiteral("own")), std::optional(QByteArray("mine")));
    }

    void aFileReplacedByRenamingIsSeenTwice()
    {
        const TestTree tree{{"a.json", "1"}};
        KeyValueStore store(tree.path());
        for (const QByteArray &text : {QByteArray("2"), QByteArray("3")}) {
            tree.write("incoming", text);
            QVERIFY(QFile::remove(tree.path("a.json")) && QFile::rename(tree.path("incoming"), tree.path("a.json")));
            QTRY_COMPARE(store.value(QStringLiteral("a")), std::optional(text));
        }
    }

    void keysThatAreNoFileNamesSurvive()
    {
        const TestTree tree;
        const QString key = QStringLiteral("a/../b%:ü");
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
        QCOMPARE(changes.first().first().toStringList(), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
        tree.write("two/b.json", "3");
        QTRY_COMPARE(store.value(QStringLiteral("b")), std::optional(QByteArray("3")));
    }

    void aFolderThatCannotBeWrittenToIsToldAndNoneAtAllIsNot()
    {
        const TestTree tree{{"folder", "a file"}};
        for (const QString &folder : {tree.path("folder"), QString()}) {
            KeyValueStore store(folder);
            QSignalSpy failures(&store, &KeyValueStore::writeFailed);
            QVERIFY(!store.setValue(QStringLiteral("a"), "1"));
            QCOMPARE(failures.count(), folder.isEmpty() ? 0 : 1);
            QVERIFY(!store.value(QStringLiteral("a")));
        }
    }
};

MOORIX_TEST(KeyValueStoreTest)
#include "KeyValueStoreTest.moc"
