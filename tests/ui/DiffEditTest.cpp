// SPDX-License-Identifier: GPL-3.0-or-later
#include "DiffBench.h"

#include "remote/SFTPService.h"
#include "support/TestServer.h"

#include <QDir>
#include <QFile>
#include <QMenu>
#include <QScrollBar>
#include <QToolButton>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Changes that are taken over from one compared file to the other, in the window.
class DiffEditTest final : public QObject
{
    Q_OBJECT

    /// An upload runs a dozen processes one after the other.
    static constexpr int patience = 20'000;

    static QByteArray old() { return numbered({{10, "old ten"}, {30, "old thirty"}}); }
    static QByteArray now() { return numbered({{10, "new ten"}, {30, "new thirty"}}); }

    /// Both files, with the first of two changes current.
    static void open(const DiffBench &bench)
    {
        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        bench.compare();
        QTRY_COMPARE(bench.text("diffPlace"), u"Change 1 of 2"_s);
    }

private slots:
    void keysAndButtonsTakeChangesOverAndSavesWriteThem()
    {
        const DiffBench bench({{"left/a", old()}, {"left/b", now()}});
        open(bench);
        QVERIFY(!bench.find("diffLeftSave") && !bench.find("diffUndo"));
        // As fast as keys come.
        bench.key(Qt::Key_Right, Qt::AltModifier);
        bench.key(Qt::Key_Right, Qt::AltModifier);
        QTRY_COMPARE(bench.text("diffRemark"), u"Both files will hold the same once they are saved."_s);
        QVERIFY(bench.find("diffRightSave") && !bench.find("diffLeftSave"));
        QCOMPARE(bench.home.read("left/b"), now());
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QTRY_VERIFY(bench.isAt("+1", "−1"));
        QTest::mouseClick(bench.view()->viewport(), Qt::LeftButton, {},
                          bench.view()->copyButton(4, DiffSide::left).center());
        QTRY_VERIFY(bench.find("diffLeftSave") && bench.find("diffRightSave"));
        QTRY_COMPARE(bench.text("diffRemark"), u"Both files will hold the same once they are saved."_s);
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_COMPARE(bench.home.read("left/b"), numbered({{10, "old ten"}, {30, "new thirty"}}));
        QTRY_COMPARE(bench.home.read("left/a"), bench.home.read("left/b"));
        QTRY_VERIFY(!bench.find("diffLeftSave") && !bench.find("diffRightSave"));
        QTRY_COMPARE(bench.text("diffRemark"), u"Both files hold the same."_s);
        // Steps go back beyond a save.
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("diffLeftSave"));
        bench.key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(!bench.find("diffLeftSave"));
        bench.key(Qt::Key_Escape);
        QVERIFY(!bench.find("diffPage"));
    }

    void changesThatAreNotSavedAreAskedAboutWhateverTakesTheirPlace()
    {
        enum { save, discard, stay };
        for (const int answer : {save, discard, stay}) {
            const DiffBench bench({{"left/a", old()}, {"left/b", now()}});
            open(bench);
            bench.key(Qt::Key_Left, Qt::AltModifier);
            QTRY_VERIFY(bench.isAt("+1", "−1") && bench.find("diffLeftSave"));
            if (answer == stay)
                bench.key(Qt::Key_B, Qt::ControlModifier | Qt::ShiftModifier);
            else
                bench.key(Qt::Key_Escape);
            QTRY_VERIFY(bench.find("messageBarText"));
            QVERIFY(bench.find("diffPage"));
            QCOMPARE(bench.text("messageBarText"), u"“a” has changes that are not saved."_s);
            if (answer == stay) {
                bench.key(Qt::Key_Escape);
                QVERIFY(bench.find("diffPage") && !bench.find("messageBarText"));
                QVERIFY(!bench.window->close());
                QVERIFY(bench.text("messageBarText").contains(u"“a” has changes that are not saved. Quit?"_s));
                continue;
            }
            bench.click(bench.find(answer == save ? "messageBarBetter" : "messageBarConfirm"));
            QTRY_VERIFY(!bench.find("diffPage"));
            QCOMPARE(bench.home.read("left/a"),
                     answer == save ? numbered({{10, "new ten"}, {30, "old thirty"}}) : old());
        }
    }

    void fileThatWasChangedMeanwhileIsNotOverwrittenUnasked()
    {
        const DiffBench bench({{"left/a", old()}, {"left/b", now()}});
        open(bench);
        bench.key(Qt::Key_Right, Qt::AltModifier);
        QTRY_VERIFY(bench.find("diffRightSave"));
        bench.home.write("left/b", "somebody else's");
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(bench.text("messageBarText").startsWith(u"“b” was changed by somebody else meanwhile"_s));
        QCOMPARE(bench.home.read("left/b"), "somebody else's");
        QVERIFY(bench.find("diffRightSave"));
        // Reading anew takes no text away.
        bench.key(Qt::Key_Escape);
        bench.key(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(bench.isAt("+1", "−1"));
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("messageBarConfirm"));
        bench.click(bench.find("messageBarConfirm"));
        QTRY_COMPARE(bench.home.read("left/b"), numbered({{10, "old ten"}, {30, "new thirty"}}));
        QTRY_VERIFY(!bench.find("diffRightSave"));
    }

    void saveThatAServerRefusesKeepsTheText()
    {
        if (!TestServer::hasAccounts())
            QSKIP("Only root can log in as another user.");
        TestServer sshd;
        QVERIFY(QDir().mkpath(sshd.sharedPath() + u"/closed"_s));
        const QString there = sshd.sharedPath() + u"/closed/b"_s;
        putFile(there, now());
        const DiffBench bench({{"left/a", old()}}, std::make_shared<IsolatedClients>(sshd.knownHostsPath()));
        ServerConnection server = sshd.connectionByPassword(TestServer::user());
        server.remotePath = sshd.sharedPath() + u"/closed"_s;
        bench.model->servers().upsert(server);
        bench.model->keychain()->rememberForThisRun(TestServer::password(), server.id, SecretKind::password);
        bench.model->tabs(Side::right).openServerHere(server);
        QTRY_VERIFY_WITH_TIMEOUT(bench.pane(Side::right) && bench.pane(Side::right)->displayedCount() == 1, patience);
        bench.select(Side::left, QStringList{u"a"_s});
        bench.select(Side::right, QStringList{u"b"_s});
        bench.compare();
        QTRY_COMPARE_WITH_TIMEOUT(bench.text("diffPlace"), u"Change 1 of 2"_s, patience);
        bench.key(Qt::Key_Right, Qt::AltModifier);
        QTRY_VERIFY(bench.find("diffRightSave"));
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY_WITH_TIMEOUT(bench.text("messageBarText").startsWith(u"“b” is not saved: "_s), patience);
        QCOMPARE(contentOf(there), now());
        QVERIFY(bench.find("diffRightSave") && bench.find("diffRightSave")->isEnabled());
        // Somebody lets the user in.
        QVERIFY(QFile::setPermissions(sshd.sharedPath() + u"/closed"_s, QFile::Permissions(0x7777)));
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_COMPARE_WITH_TIMEOUT(contentOf(there), numbered({{10, "old ten"}, {30, "new thirty"}}), patience);
        QTRY_VERIFY_WITH_TIMEOUT(!bench.find("diffRightSave"), patience);
        QCOMPARE(QDir(bench.home.path("data/Moorix/edited")).entryList(QDir::Dirs | QDir::NoDotAndDotDot),
                 QStringList());
    }

    void rowsStayBesideEachOtherWhenLongLinesAreWrapped()
    {
        QByteArray longLine;
        for (int i = 0; i < 100; ++i)
            longLine += "word" + QByteArray::number(i) + ' ';
        const DiffBench bench({{"left/a", numbered({{10, longLine}})}, {"left/b", numbered({{10, "short"}})}});
        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        bench.compare();
        QTRY_VERIFY(bench.view() && bench.view()->currentRow());
        const DiffView &view = *bench.view();
        const auto top = [&view](qsizetype row) { return view.copyButton(row, DiffSide::left).top(); };
        const int height = top(5) - top(4);
        QCOMPARE(height, top(3) - top(2));
        QVERIFY(view.horizontalScrollBar()->maximum() > 0);
        bench.key(Qt::Key_Z, Qt::AltModifier);
        // A key shows the button pressed for a moment.
        QTRY_VERIFY(top(5) - top(4) >= 3 * height);
        QCOMPARE(top(3) - top(2), height);
        QCOMPARE(view.horizontalScrollBar()->maximum(), 0);
        bench.click(bench.find("diffWrap"));
        QCOMPARE(top(5) - top(4), height);
    }

    void choicesAndOpenedFoldsStay()
    {
        const DiffBench bench({{"left/a", old()}, {"left/b", now()}});
        open(bench);
        bench.click(bench.find("diffWrap"));
        bench.choose(bench.find<QToolButton>("diffIgnore")->menu()->actions(), "Ignore case");
        QTRY_COMPARE(bench.find<QToolButton>("diffIgnore")->text(), u"Ignoring…"_s);
        // What is opened at the beginning stays open, what is folded at the end stays folded.
        bench.key(Qt::Key_Home);
        bench.key(Qt::Key_Return);
        const auto lineAtEnd = [&bench] {
            bench.key(Qt::Key_End);
            return bench.view()->currentRow()->left;
        };
        QCOMPARE(lineAtEnd(), 33);
        bench.key(Qt::Key_F7, Qt::ShiftModifier);
        bench.key(Qt::Key_F7, Qt::ShiftModifier);
        bench.key(Qt::Key_Right, Qt::AltModifier);
        QTRY_VERIFY(bench.isAt("+1", "−1"));
        QCOMPARE(bench.view()->currentRow()->left, 29);
        bench.key(Qt::Key_Home);
        QCOMPARE(bench.view()->currentRow()->folded, 0);
        QCOMPARE(lineAtEnd(), 33);
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QTRY_VERIFY(bench.isAt("+2", "−2"));
        bench.key(Qt::Key_Escape);
        open(bench);
        QVERIFY(bench.find<QToolButton>("diffWrap")->isChecked());
        QCOMPARE(bench.find<QToolButton>("diffIgnore")->text(), u"Ignoring…"_s);
    }

    void whatIsIgnoredIsChosenInAMenuAndThePictureOfAllGoesToAPlace()
    {
        const DiffBench bench({{"left/a", numbered().replace("\n", "\r\n") + "one"}, {"left/b", numbered() + "ONE "}});
        bench.select(Side::left, QStringList{u"a"_s, u"b"_s});
        bench.compare();
        QTRY_VERIFY(bench.isAt("+41", "−41"));
        QCOMPARE(bench.text("diffRemark"), u"The lines end in CRLF on the left and in LF on the right."_s);
        QVERIFY(bench.text("diffLeftFacts").endsWith(u"UTF-8 · CRLF"_s));
        QVERIFY(bench.text("diffRightFacts").endsWith(u"UTF-8 · LF"_s));
        QWidget *overview = bench.find("diffOverview");
        QTest::mouseClick(overview, Qt::LeftButton, {}, {5, overview->height() - 2});
        QCOMPARE(bench.view()->verticalScrollBar()->value(), bench.view()->verticalScrollBar()->maximum());
        // A copy keeps the line ends of where it goes.
        bench.key(Qt::Key_Home);
        bench.key(Qt::Key_Right, Qt::AltModifier);
        QTRY_VERIFY(bench.find("diffRightSave"));
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_COMPARE(bench.home.read("left/b"), numbered() + "one");
        QMenu *menu = bench.find<QToolButton>("diffIgnore")->menu();
        bench.choose(menu->actions(), "Ignore white space at line ends");
        QTRY_COMPARE(bench.text("diffRemark"), u"All lines are equal but for what is ignored."_s);
        bench.choose(menu->actions(), "Compare white space");
        QTRY_VERIFY(bench.isAt("+40", "−40"));
    }
};

MOORIX_TEST(DiffEditTest)
#include "DiffEditTest.moc"
