// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Favorites.h"
#include "ui/HostKeyPanel.h"
#include "ui/TransferText.h"

#include "support/TestMain.h"
#include "transfers/TransferEngine.h"

#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;

class ShellTextTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }

    void timeLeftIsSaidAsAPersonWould()
    {
        const std::tuple<qint64, double, const char *> rows[] = {{1001, 100.0, "11 s left"},
                                                                 {5900, 100.0, "59 s left"},
                                                                 {6100, 100.0, "1 min left"},
                                                                 {3590, 1.0, "1 h 0 min left"}, // not 60 minutes
                                                                 {7500, 1.0, "2 h 5 min left"},
                                                                 {0, 100.0, ""},
                                                                 {-5, 100.0, ""},
                                                                 {100, 0.0, ""},
                                                                 {qint64(1) << 40, 1.0, ""}};
        for (const auto &[bytes, rate, text] : rows)
            QCOMPARE(TransferText::timeLeft(bytes, rate), QLatin1String(text));
    }

    void progressNeverPassesTheEnd()
    {
        TransferStatus transfer;
        QCOMPARE(TransferText::permille(transfer), -1);
        transfer.filesTotal = 4;
        transfer.filesDone = 1;
        QCOMPARE(TransferText::permille(transfer), 250);
        // Files grow while they are copied.
        transfer.bytesTotal = 1000;
        transfer.bytesDone = 1200;
        QCOMPARE(TransferText::permille(transfer), 1000);
        transfer.filesDone = 4;
        QVERIFY(TransferText::progress(transfer).contains(u"file 4 of 4"_s));
    }

    void failuresAndSkippedFilesAreCounted()
    {
        TransferStatus transfer;
        transfer.state = TransferStatus::State::failed;
        transfer.failures = {u"a"_s, u"b"_s};
        transfer.filesDone = 1;
        transfer.bytesDone = 214;
        transfer.skipped = 3;
        QCOMPARE(TransferText::outcome(transfer), u"2 failed · 1 file · 214 bytes · 3 skipped"_s);
        // What it had done before a restart is not known.
        transfer.filesDone = transfer.bytesDone = transfer.skipped = 0;
        QCOMPARE(TransferText::outcome(transfer), u"2 failed"_s);
    }

    void endedTransferTellsHowLongItTookAndHowFastItWas()
    {
        TransferStatus transfer;
        transfer.state = TransferStatus::State::finished;
        transfer.filesDone = 3;
        transfer.bytesDone = 12'000'000;
        transfer.timeTaken = std::chrono::milliseconds(4100);
        transfer.averageRate = 2.93e6;
        QCOMPARE(TransferText::outcome(transfer), u"3 files · 12.0 MB · 4 s · 2.9 MB/s"_s);
        const std::pair<int, const char *> rows[] = {
            {999, "under 1 s"}, {59'600, "1 min 0 s"}, {3'599'400, "59 min 59 s"}, {3'599'500, "1 h 0 min"}};
        for (const auto &[msecs, text] : rows)
            QCOMPARE(TransferText::duration(std::chrono::milliseconds(msecs)), QLatin1String(text));
        const QDateTime now = QDateTime::currentDateTime();
        QVERIFY(TransferText::moment(now.addDays(-1)).endsWith(u", "_s + TransferText::moment(now)));
    }

    void favouritesSurviveAnyNameAndDamagedOnesAreLeftOut()
    {
        const QStringList odd{u"/a,b"_s, u"/line\nbreak"_s, u"/\"quoted\""_s, u"/Ünïcode"_s};
        QString raw;
        for (const QString &path : odd)
            raw = Favorites::adding(raw, path);
        QCOMPARE(Favorites::parse(raw), odd);
        QCOMPARE(Favorites::adding(raw, odd.first()), raw);
        for (const QString &path : odd)
            raw = Favorites::removing(raw, path);
        QCOMPARE(raw, QString());
        QCOMPARE(Favorites::parse(u"[\"/a\", 7, \"relative\", null, \"/a\"]"_s), QStringList{u"/a"_s});
        QCOMPARE(Favorites::parse(u"/a\n\n/b"_s), (QStringList{u"/a"_s, u"/b"_s}));
        QCOMPARE(Favorites::parse(u"{\"/a\""_s), QStringList());
    }

    void onlyHostKeyFailuresAreTakenForOnes()
    {
        using Reason = HostKeyPanel::Reason;
        QCOMPARE(HostKeyPanel::reasonOf(u"WARNING: REMOTE HOST IDENTIFICATION HAS CHANGED!"_s), Reason::keyChanged);
        QCOMPARE(HostKeyPanel::reasonOf(
                     u"No ED25519 host key is known for web-01 and you have requested strict checking."_s),
                 Reason::hostUnknown);
        QCOMPARE(HostKeyPanel::reasonOf(u"me@web-01: Permission denied (publickey)."_s), std::nullopt);
    }
};

MOORIX_TEST(ShellTextTest)
#include "ShellTextTest.moc"
