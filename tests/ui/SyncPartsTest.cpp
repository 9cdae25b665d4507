// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "ui/FlowLayout.h"
#include "ui/sync/SyncFilter.h"
#include "ui/sync/SyncLook.h"

#include <QLabel>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

SyncRow rowOf(SyncBucket bucket, bool isHere = true, bool isThere = true)
{
    SyncRow row;
    row.diff = {u"docs/a.txt"_s, bucket, {}, {}};
    if (isHere)
        row.diff.local = SyncEntry{1, {}, false};
    if (isThere)
        row.diff.remote = SyncEntry{2, {}, false};
    row.action = usualAction(bucket);
    return row;
}

} // namespace

/// What rows look like, and where their chips stand.
class SyncPartsTest final : public QObject
{
    Q_OBJECT

private slots:
    void signsAndWordsTellOneRowFromAnother()
    {
        using enum SyncBucket;
        const auto signOf = [](const SyncRow &row) { return SyncLook::directionSign(row).first; };
        // Whatever the kind, the sign points to the side that is changed.
        for (const SyncBucket bucket : {createOnLocal, updateLocal, restoreOnLocal})
            QCOMPARE(signOf(rowOf(bucket)), u"go-previous"_s);
        for (const SyncBucket bucket : {createOnRemote, updateRemote, restoreOnRemote})
            QCOMPARE(signOf(rowOf(bucket)), u"go-next"_s);
        for (const SyncBucket bucket : {deleteLocal, deleteRemote}) {
            const SyncRow row = rowOf(bucket, bucket == deleteLocal, bucket == deleteRemote);
            QCOMPARE(SyncLook::directionSign(row), std::pair(u"edit-delete"_s, Theme::Color::danger));
            QCOMPARE(SyncLook::happeningColor(row), Theme::Color::danger);
        }
        QCOMPARE(SyncLook::happening(rowOf(deleteLocal, true, false), false), u"Delete on this computer"_s);
        QCOMPARE(SyncLook::happening(rowOf(updateRemote), false), u"Changed on this computer"_s);

        SyncRow both = rowOf(SyncBucket::conflict);
        QCOMPARE(SyncLook::happeningColor(both), Theme::Color::warning);
        both.action = SyncAction::copyToLocal;
        QCOMPARE(SyncLook::happeningColor(both), Theme::Color::mutedText);
        QCOMPARE(SyncLook::happening(both, false), u"Copy to this computer"_s);
        SyncPlanner::block(both, u"it is odd"_s);
        QCOMPARE(SyncLook::happening(both, false), u"It is odd"_s);
        QCOMPARE(SyncLook::happeningColor(both), Theme::Color::mutedText);

        SyncRow failed = rowOf(createOnRemote);
        failed.result = SyncResult::failed;
        failed.reason = u"disk full"_s;
        QCOMPARE(SyncLook::happening(failed, true), u"Failed: disk full"_s);
        QCOMPARE(SyncLook::directionSign(failed), std::pair(u"data-warning"_s, Theme::Color::danger));
    }

    void namesOfPairsSayWhichFoldersTheyAre()
    {
        const ServerConnection server = serverAt(u"web.example"_s, u"me"_s);
        SyncPair pair{QUuid(), {}, u"/home/ada/site"_s, server.id, u"/var/www"_s, {}};
        QCOMPARE(SyncLook::title(pair, server), u"site ↔ web.example"_s);
        QCOMPARE(SyncLook::title(pair, std::nullopt), u"site ↔ a server that is gone"_s);
        QCOMPARE(SyncLook::folders(pair, server), u"/home/ada/site ↔ web.example:/var/www"_s);
        pair.localPath = u"/"_s;
        QCOMPARE(SyncLook::title(pair, server), u"/ ↔ web.example"_s);
        // A name of another program's making must not break the line.
        pair.name = u"a\nb"_s;
        QCOMPARE(SyncLook::title(pair, server), u"a\\nb"_s);
        SyncLogEntry run;
        run.started = systemNow();
        run.result = u"Completed"_s;
        QVERIFY(SyncLook::lastRun(run).startsWith(u"Synced "_s));
        run.result = u"The disk is full."_s;
        QVERIFY(SyncLook::lastRun(run).startsWith(u"Failed "_s));
        QCOMPARE(SyncLook::lastRun(std::nullopt), u"Not synced yet"_s);
    }

    void chipsTakeAsManyLinesAsTheyNeed()
    {
        QWidget box;
        auto *flow = new FlowLayout(6, &box);
        QList<QLabel *> chips;
        for (int i = 0; i < 5; ++i) {
            chips << new QLabel(&box);
            chips.last()->setFixedSize(100, 20);
            flow->addWidget(chips.last());
        }
        QCOMPARE(flow->heightForWidth(524), 20);
        QCOMPARE(flow->heightForWidth(523), 46);
        QCOMPARE(flow->heightForWidth(10), 5 * 20 + 4 * 6);
        box.resize(220, 200);
        box.show();
        QTRY_COMPARE(chips.at(2)->pos(), QPoint(0, 26));
        QCOMPARE(chips.at(3)->pos(), QPoint(106, 26));
        chips.at(0)->hide();
        QTRY_COMPARE(chips.at(2)->pos(), QPoint(106, 0));
    }
};

MOORIX_TEST(SyncPartsTest)
#include "SyncPartsTest.moc"
