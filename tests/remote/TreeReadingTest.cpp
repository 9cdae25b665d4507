// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FindOutput.h"
#include "remote/RemoteTree.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>

using namespace moorix;
using namespace moorix::test;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// What becomes of a tree when a server tells only a part of it, or something else.
class TreeReadingTest final : public QObject
{
    Q_OBJECT

private slots:
    void onlyAWholeTreeIsTaken_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("errorText");
        QTest::addColumn<QStringList>("unread");
        QTest::addColumn<bool>("isTaken");
        const QByteArray top("drwxr-xr-x/4/1.5/me/|");
        const QByteArray folder("drwxr-xr-x/4/1.5/me/a|");
        const QByteArray file("-rw-r--r--/4/1.5/me/a/b\n/c|");
        const auto row = [](const char *name, const QByteArray &output, int exitCode = 0, const QString &errors = {},
                            const QStringList &unread = {}, bool isTaken = false) {
            QTest::newRow(name) << output << exitCode << errors << unread << isTaken;
        };
        row("an empty folder", top, 0, {}, {}, true);
        row("nothing, without a complaint", "");
        row("a file instead of a folder", "-rw-r--r--/4/1.5/me/|");
        row("words of a login in front", "Welcome!\n" + top);
        row("cut within a row", top + folder.chopped(2));
        row("an entry of a folder that did not come", top + file);
        row("the folder twice", top + top);
        const QString denied = u"find: '/t/a': Permission denied"_s;
        row("a folder that may not be read", top + folder, 1, denied, {u"/t/a"_s}, true);
        row("the same of an old find", top + folder, 1, u"find: `/t/a': Permission denied"_s, {u"/t/a"_s}, true);
        row("two entries of a folder that may not be entered", top + folder, 1,
            u"find: '/t/a/x\\n\\'': Permission denied\nfind: '/t/a/\\303\\274': Permission denied"_s, {u"/t/a"_s},
            true);
        row("the whole", top, 1, u"find: '/t': Permission denied"_s);
        row("a folder elsewhere", top + folder, 1, u"find: '/u/a': Permission denied"_s);
        row("an entry among others", top + folder + "-rw-r--r--/4/1.5/me/a/b|", 1,
            u"find: '/t/a/c': Permission denied"_s);
        row("something else beside it", top + folder, 1, denied + u"\nfind: '/t/b': Input/output error"_s);
        row("a failure without a word", top + folder, 1);
    }

    void onlyAWholeTreeIsTaken()
    {
        QFETCH(QByteArray, output);
        QFETCH(const int, exitCode);
        QFETCH(const QString, errorText);
        QFETCH(const QStringList, unread);
        QFETCH(const bool, isTaken);
        output.replace('|', '\0');
        FindOutput found(u"/t"_s);
        for (const char byte : std::as_const(output))
            found.feed(QByteArrayView(&byte, 1));
        QCOMPARE(found.end(exitCode, errorText), isTaken);
        if (!isTaken)
            return;
        QCOMPARE(found.unread(), unread);
        QCOMPARE(found.tree().folders.keys(), QStringList{u"/t"_s});
    }

    void timesAreWorthWhatTheirSourceTells()
    {
        const ListedTimes utc{ListedTimes::Precision::minutesOrDays, Qt::UTC};
        const ListedTimes local{ListedTimes::Precision::minutesOrDays, Qt::LocalTime};
        const QDateTime midnight(QDate(2026, 3, 1), QTime(0, 0), Qt::UTC);
        QVERIFY(ListedTimes().slack(midnight) == 1s);
        QVERIFY(utc.slack(midnight) == 24h && utc.slack(midnight.addSecs(60)) == 1min);
        QVERIFY(utc.slack(midnight.toLocalTime()) == 24h);
        // Clocks are put forward in the night to the 29th.
        qputenv("TZ", "Europe/Berlin");
        tzset();
        const auto atMidnight = [](int day) { return QDate(2026, 3, day).startOfDay(); };
        const bool isRight =
            local.slack(atMidnight(29)) == 23h && local.slack(atMidnight(30)) == 24h && local.slack(midnight) == 1min;
        qunsetenv("TZ");
        tzset();
        QVERIFY(isRight);
    }

    void failureOfOneRunEndsTheOthersAndIsTheOneTold()
    {
        std::mutex mutex;
        std::condition_variable_any never;
        FolderReader reader;
        reader.runsFor = [](qsizetype) { return 3; };
        reader.list = [&](std::span<ListedFolder> folders, int atOnce, const std::stop_token &stop) {
            QCOMPARE(atOnce, 3);
            if (folders.front().path == u"/2")
                throw FileServiceError::connectionFailed(u"gone"_s);
            std::unique_lock lock(mutex);
            never.wait(lock, stop, [] { return false; });
            throw Cancelled();
        };
        ListedTree tree;
        QCOMPARE(messageOf([&] {
                     RemoteTree::readLevels({u"/1"_s, u"/2"_s, u"/3"_s}, reader, tree, {}, neverStops);
                 }),
                 u"Could not connect: gone"_s);
    }
};

MOORIX_TEST(TreeReadingTest)
#include "TreeReadingTest.moc"
