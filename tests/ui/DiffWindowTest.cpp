// SPDX-License-Identifier: GPL-3.0-or-later
#include "DiffBench.h"

#include <QClipboard>
#include <QFile>
#include <QScrollBar>
#include <QTemporaryFile>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Two files of this computer against each other, in the window.
class DiffWindowTest final : public QObject
{
    Q_OBJECT

private slots:
    void twoFilesOnOneSideOrOneOnEachAreComparedByKey()
    {
        const std::tuple<QStringList, QStringList, QString, QString> rows[] = {
            {{u"a"_s, u"b"_s}, {}, u"a ↔ b"_s, u"+2"_s},  {{u"a"_s}, {u"a"_s}, u"a"_s, u"+1"_s}, {{u"a"_s}, {}, {}, {}},
            {{u"a"_s, u"b"_s, u"c"_s}, {u"a"_s}, {}, {}}, {{u"a"_s, u"folder"_s}, {}, {}, {}},
        };
        for (const auto &[left, right, title, added] : rows) {
            const DiffBench bench({{"left/a", "1\n"},
                                   {"left/b", "1\n2\n3\n"},
                                   {"left/c", ""},
                                   {"left/folder/", ""},
                                   {"right/a", "1\nx\n"}});
            bench.select(Side::left, left);
            bench.select(Side::right, right);
            bench.compare();
            if (title.isEmpty()) {
                QVERIFY(!bench.find("diffPage"));
                QVERIFY(bench.text("messageBarText").startsWith(u"Select the two files to compare"_s));
                continue;
            }
            QTRY_COMPARE(bench.text("diffAdded"), added);
            QVERIFY(bench.text("diffRemoved").endsWith(u"0"_s));
            QCOMPARE(bench.text("diffTitle"), title);
            QCOMPARE(bench.window->windowTitle(), title + u" — Moorix"_s);
            QTRY_COMPARE(QApplication::focusWidget(), bench.view());
            bench.key(Qt::Key_Escape);
            QVERIFY(!bench.find("diffPage"));
            QCOMPARE(QApplication::focusWidget(), bench.list(Side::left));
        }
    }

    void changesAndTextAreReachedByKeysAndLinesCopied()
    {
        const DiffBench bench({{"left/a", numbered({{10, "old ten"}})},
                               {"left/b", numbered({{10, "new ten"}, {30, "Line THIRTY\n\tmore"}})}});
        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        bench.compare();
        QTRY_COMPARE(bench.text("diffPlace"), u"Change 1 of 2"_s);
        const auto row = [&bench] { return bench.view()->currentRow()->left; };
        QCOMPARE(row(), 9);
        bench.key(Qt::Key_F7);
        QCOMPARE(bench.text("diffPlace"), u"Change 2 of 2"_s);
        QCOMPARE(row(), 29);
        bench.key(Qt::Key_F7);
        bench.key(Qt::Key_F7, Qt::ShiftModifier);
        QCOMPARE(row(), 9);
        bench.key(Qt::Key_Tab);
        bench.key(Qt::Key_Down, Qt::ShiftModifier);
        bench.key(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), u"new ten\nline 11"_s);

        // A line within a fold, and one on the right only.
        bench.key(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QLatin1String("LINE 2"));
        bench.key(Qt::Key_Return);
        QCOMPARE(row(), 19);
        bench.key(Qt::Key_F3, Qt::ShiftModifier);
        QCOMPARE(row(), 1);
        QTest::keyClicks(bench.find("diffSearch"), QLatin1String("x"));
        bench.key(Qt::Key_Return);
        QCOMPARE(bench.find("diffSearch")->property("tone").toString(), u"danger"_s);
        bench.key(Qt::Key_Escape);
        QCOMPARE(QApplication::focusWidget(), bench.view());
        bench.key(Qt::Key_A, Qt::ControlModifier);
        bench.key(Qt::Key_C, Qt::ControlModifier);
        // The other text is the one the search was in.
        QCOMPARE(QApplication::clipboard()->text().toUtf8(), bench.home.read("left/a"));
    }

    void whatCannotBeComparedIsSaidAndTriedAgain()
    {
        const DiffBench bench({{"left/a", "1\n"}, {"left/b", "2\n"}, {"left/zeros", QByteArray("0\0", 2)}});
        bench.select(Side::left, QStringList{u"a"_s, u"zeros"_s});
        bench.compare();
        QTRY_COMPARE(bench.text("diffMessage"), u"“zeros” (right) is no text. They differ from byte 1 on."_s);
        QVERIFY(!bench.find("diffRetry"));
        bench.key(Qt::Key_Escape);

        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        QVERIFY(QFile::rename(bench.home.path("left/b"), bench.home.path("away")));
        bench.compare();
        QTRY_COMPARE(bench.text("diffMessage"), u"Not found: "_s + bench.home.path("left/b"));
        QTRY_COMPARE(QApplication::focusWidget(), bench.find("diffRetry"));
        QVERIFY(QFile::copy(bench.home.path("left/a"), bench.home.path("left/b")));
        bench.key(Qt::Key_Space);
        QTRY_COMPARE(bench.text("diffRemark"), u"Both files hold the same."_s);
        bench.home.write("left/b", "1\n2\n");
        bench.key(Qt::Key_R, Qt::ControlModifier);
        QTRY_COMPARE(bench.text("diffAdded"), u"+1"_s);
        // Whatever takes its place ends it.
        bench.key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(!bench.find("diffPage") && bench.find("backupArea"));
    }

    void whatTheRowsDoNotTellIsSaidAboveThem()
    {
        QByteArray left;
        QByteArray right;
        for (int i = 0; i < 2001; ++i) {
            left += "l" + QByteArray::number(i) + '\n';
            right += "r" + QByteArray::number(i) + '\n';
        }
        const DiffBench bench(
            {{"left/a", left}, {"left/b", right}, {"left/utf8", "gr\xC3\xBC\xC3\x9F"}, {"left/latin1", "gr\xFC\xDF"}});
        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        bench.compare();
        QTRY_VERIFY(bench.text("diffRemark").startsWith(u"So many lines in a row differ"_s));
        QCOMPARE(bench.text("diffPlace"), u"Change 1 of 1"_s);
        bench.key(Qt::Key_Escape);
        bench.select(Side::left, QStringList{u"latin1"_s, u"utf8"_s});
        bench.compare();
        QTRY_COMPARE(bench.text("diffRemark"),
                     u"All lines are equal, but not the bytes: the left file is Latin-1, the right one UTF-8."_s);
        QVERIFY(!bench.find("diffAdded") && bench.text("diffLeftFacts").endsWith(u"Latin-1"_s));
    }

    void hundredThousandLinesAreShownToTheirEnd()
    {
        QByteArray left;
        for (int i = 0; i < 100'000; ++i)
            left += QByteArray::number(i) + '\n';
        const DiffBench bench({{"left/a", left + "end"}, {"left/b", "begin\n" + left + QByteArray(60'000, 'w')}});
        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        bench.compare();
        QTRY_VERIFY(bench.view());
        bench.click(bench.find("diffFold"));
        bench.key(Qt::Key_End);
        QTRY_COMPARE(bench.view()->currentRow()->right, 100'001);
        QCOMPARE(bench.view()->verticalScrollBar()->value(), bench.view()->verticalScrollBar()->maximum());
        bench.view()->horizontalScrollBar()->setValue(bench.view()->horizontalScrollBar()->maximum());
        QVERIFY(!bench.view()->grab().isNull());
        bench.key(Qt::Key_F7, Qt::ShiftModifier);
        QCOMPARE(bench.view()->currentRow()->right, 0);
    }
};

MOORIX_TEST(DiffWindowTest)
#include "DiffWindowTest.moc"
