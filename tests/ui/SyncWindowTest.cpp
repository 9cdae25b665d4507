// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include "app/ServerConnections.h"
#include "support/TestServer.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "ui/sync/SyncListView.h"
#include "ui/sync/SyncRowsModel.h"

#include <QDir>
#include <QMenu>
#include <QPlainTextEdit>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// A folder of this computer and one of a real server, kept alike in the window.
class SyncWindowTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestServer> m_sshd;

    QString onServer(const QString &name) const { return m_sshd->sharedPath() + u'/' + name; }

    struct Bench : WindowBench
    {
        using WindowBench::select;
        using WindowBench::WindowBench;

        SyncSession *session() const { return model->sync().sessions().value(0); }
        SyncSession::State state() const { return session() ? session()->state() : SyncSession::State::idle; }
        void lookByKey() const
        {
            key(Qt::Key_Y, Qt::ControlModifier);
            [this] { QTRY_COMPARE(state(), SyncSession::State::review); }();
        }
        SyncListView *rows() const { return find<SyncListView>("syncList"); }
        /// Makes the row of a path current and selected, with nothing else.
        void select(const QString &path) const
        {
            const auto &lines = static_cast<const SyncRowsModel &>(*rows()->model());
            for (int line = 0; line < lines.rowCount(); ++line) {
                if (lines.relPath(line) == path)
                    return rows()->select(line);
            }
            QFAIL(qPrintable(path));
        }
        QString text(const char *name) const
        {
            const auto *label = find<QLabel>(name);
            return label ? label->text() : QString();
        }
    };

    /// The left side shows a local folder, the right side the server's.
    std::unique_ptr<Bench> open(std::initializer_list<TestTree::Entry> entries) const
    {
        auto bench = std::make_unique<Bench>(entries, std::make_shared<IsolatedClients>(m_sshd->knownHostsPath()));
        ServerConnection server = m_sshd->connection();
        server.name = u"web"_s;
        server.remotePath = m_sshd->sharedPath();
        bench->model->servers().upsert(server);
        bench->model->tabs(Side::right).openServerHere(server);
        [&] {
            QTRY_VERIFY(bench->pane(Side::right) && bench->pane(Side::right)->currentPath() == m_sshd->sharedPath());
        }();
        bench->activateList(Side::left);
        return bench;
    }

private slots:
    void initTestCase() { m_sshd = std::make_unique<TestServer>(); }
    void cleanup()
    {
        QDir(m_sshd->sharedPath()).removeRecursively();
        QDir().mkpath(m_sshd->sharedPath());
    }
    void cleanupTestCase() { m_sshd.reset(); }

    void folderIsSyncedByKeysAndThenThereIsNothingToDo()
    {
        putFile(onServer(u"theirs.txt"_s), "theirs");
        putFile(onServer(u"both.txt"_s), "a longer version");
        const auto bench = open({{"left/mine.txt", "mine"}, {"left/both.txt", "short"}, {"left/unwanted.txt", "no"}});
        bench->lookByKey();
        QVERIFY(bench->find("syncPage") && !bench->find("sideView"));
        QCOMPARE(bench->text("syncFirstNotice"),
                 u"First sync for this folder pair — files are being merged, nothing will be deleted."_s);
        QTRY_COMPARE(QApplication::focusWidget(), bench->rows());
        bench->select(u"both.txt"_s);
        bench->key(Qt::Key_Right);
        bench->select(u"unwanted.txt"_s);
        bench->key(Qt::Key_S);
        QCOMPARE(bench->text("syncSummary"), u"2 to the server, 1 to this computer, 1 left as they are"_s);
        QCOMPARE(bench->find<QPushButton>("syncApply")->text(), u"Sync 3 changes"_s);
        bench->key(Qt::Key_Return, Qt::ControlModifier);
        QTRY_COMPARE(bench->state(), SyncSession::State::done);
        QCOMPARE(contentOf(onServer(u"both.txt"_s)), "short");
        QCOMPARE(contentOf(onServer(u"mine.txt"_s)), "mine");
        QCOMPARE(bench->home.read("left/theirs.txt"), "theirs");
        QVERIFY(!QFile::exists(onServer(u"unwanted.txt"_s)));
        QVERIFY(bench->text("syncEndWords").startsWith(u"3 done, 1 left"_s));

        bench->click(bench->find("syncAgain"));
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        QVERIFY(bench->text("syncFirstNotice").isEmpty());
        QCOMPARE(bench->rows()->model()->rowCount(), 1);
        QVERIFY(QFile::remove(bench->home.path("left/unwanted.txt")));
        bench->key(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(bench->text("syncEmpty").startsWith(u"Both sides are alike."_s));
        bench->key(Qt::Key_Escape);
        QTRY_VERIFY(bench->find("sideView") && !bench->find("syncPage"));
        QVERIFY(bench->model->sync().sessions().isEmpty());
        QTRY_VERIFY(namesOf(bench->pane(Side::right)->displayed()).contains(u"mine.txt"_s));
    }

    void aClickOnTheSignAndAnAnswerForAllConflictsChoose()
    {
        for (const char *name : {"a", "b"})
            putFile(onServer(QLatin1String(name)), "of the server");
        const auto bench = open({{"left/a", "here"}, {"left/b", "here"}, {"left/new", "n"}});
        bench->lookByKey();
        QCOMPARE(bench->find<QPushButton>("syncChip-conflict")->text(), u"Conflicts  2"_s);
        bench->choose(bench->find<QPushButton>("syncConflicts")->menu()->actions(), "The server wins");
        QCOMPARE(bench->text("syncSummary"), u"1 to the server, 2 to this computer"_s);
        bench->select(u"a"_s);
        QTest::mouseClick(bench->rows()->viewport(), Qt::LeftButton, {},
                          bench->rows()
                              ->visualRect(bench->rows()->currentIndex().siblingAtColumn(SyncRowsModel::direction))
                              .center());
        QCOMPARE(bench->text("syncSummary"), u"1 to the server, 1 to this computer, 1 to keep twice"_s);
        bench->key(Qt::Key_A, Qt::ControlModifier);
        QVERIFY(!bench->find("syncCompare"));
        bench->click(bench->find("syncSkip"));
        QCOMPARE(bench->text("syncSummary"), u"3 left as they are"_s);

        bench->key(Qt::Key_F, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QLatin1String("NE"));
        QCOMPARE(bench->rows()->model()->rowCount(), 1);
        QTest::keyClicks(QApplication::focusWidget(), QLatin1String("?"));
        QCOMPARE(bench->text("syncEmpty"), u"No path of this kind holds “NE?”."_s);
        bench->key(Qt::Key_Escape);
        QCOMPARE(bench->rows()->model()->rowCount(), 3);
        bench->select(u"b"_s);
        for (const bool isByKey : {false, true}) {
            if (isByKey)
                bench->key(Qt::Key_C);
            else
                bench->click(bench->find("syncCompare"));
            QTRY_COMPARE(bench->text("diffAdded"), u"+1"_s);
            QVERIFY(!bench->find("syncPage") && bench->text("diffRightFacts").startsWith(u"13 bytes"_s));
            bench->key(Qt::Key_Escape);
            QVERIFY(bench->find("syncPage") && !bench->find("diffPage"));
            QCOMPARE(QApplication::focusWidget(), bench->rows());
        }
        // What was chosen is not lost by a look at the folders.
        bench->key(Qt::Key_Escape);
        QVERIFY(!bench->find("syncPage"));
        bench->key(Qt::Key_Y, Qt::ControlModifier);
        QCOMPARE(bench->text("syncSummary"), u"3 left as they are"_s);
    }

    void questionHasToBeConfirmedBeforeAnythingIsDeleted()
    {
        const auto bench = open({{"left/a", "1"}, {"left/b", "2"}});
        bench->lookByKey();
        bench->click(bench->find("syncSave"));
        QVERIFY(!bench->find("syncSave"));
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::done);
        QVERIFY(QFile::remove(onServer(u"a"_s)) && QFile::remove(onServer(u"b"_s)));
        bench->click(bench->find("syncAgain"));
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        const qsizetype asked = bench->session()->plan().questions.size();
        QVERIFY(asked > 0);
        for (qsizetype left = asked; left > 0; --left) {
            QVERIFY(!bench->find("syncApply")->isEnabled());
            bench->key(Qt::Key_Return, Qt::ControlModifier);
            QCOMPARE(bench->state(), SyncSession::State::review);
            // The keyboard is on the harmless answer.
            QCOMPARE(QApplication::focusWidget()->objectName(), u"syncDoNot"_s);
            bench->click(bench->find("syncGoOn"));
        }
        QVERIFY(bench->home.exists("left/a"));
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::done);
        QVERIFY(!bench->home.exists("left/a"));
        QVERIFY(bench->text("syncEndNotes").contains(u".moorix-sync"_s));

        bench->click(bench->find("syncHistory"));
        auto *runs = bench->find<QTreeWidget>("syncRuns");
        QCOMPARE(runs->topLevelItemCount(), 2);
        runs->topLevelItem(0)->setExpanded(true);
        QCOMPARE(runs->topLevelItem(0)->child(0)->text(0), u"a: deleted on this computer"_s);
    }

    void runCanBeCancelledAndGoesOnInTheBackground()
    {
        const auto bench = open({{"left/big", QByteArray(300'000, 'x')}, {"left/small", "s"}});
        bench->lookByKey();
        connect(bench->session(), &SyncSession::stateChanged, this, [this, &bench] {
            if (bench->state() == SyncSession::State::applying)
                m_sshd->freeze();
        });
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::applying);
        QCOMPARE(bench->rows()->model()->rowCount(), 2);
        bench->key(Qt::Key_Escape);
        QVERIFY(bench->find("sideView") && bench->session()->isBusy());
        auto *sidebar = bench->find<QTreeWidget>("sidebar");
        const auto item = sidebar->findItems(u"left ↔ web"_s, Qt::MatchExactly | Qt::MatchRecursive).value(0);
        QVERIFY(item);
        QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, sidebar->visualItemRect(item).center());
        bench->session()->disconnect(this);
        bench->click(bench->find("syncCancel"));
        m_sshd->thaw();
        QTRY_COMPARE(bench->state(), SyncSession::State::cancelled);
        QVERIFY(bench->text("syncEndTitle").startsWith(u"Cancelled"_s));
        bench->click(bench->find("syncAgain"));
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::done);
        QCOMPARE(contentOf(onServer(u"big"_s)).size(), 300'000);
    }

    void savedPairWaitsInTheOverviewWithItsPatterns()
    {
        const auto bench = open({{"left/a", "1"}, {"left/b.log", "2"}});
        bench->lookByKey();
        bench->click(bench->find("syncSave"));
        bench->click(bench->find("syncSettings"));
        bench->find<QPlainTextEdit>("syncPatterns")->setPlainText(u"*.log\n\n"_s);
        bench->click(bench->find("syncApplySettings"));
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        QCOMPARE(bench->session()->plan().leftOut.keys(), QStringList{u"b.log"_s});
        QCOMPARE(bench->model->sync().pairs().pairs().value(0).ignorePatterns, QStringList{u"*.log"_s});

        bench->key(Qt::Key_Escape);
        bench->model->tabs(Side::right).openLocalHere(bench->home.path("right"));
        QTRY_VERIFY(bench->pane(Side::right) && bench->pane(Side::right)->isLocal());
        bench->key(Qt::Key_Y, Qt::ControlModifier);
        QVERIFY(bench->text("syncReason").contains(u"has to be a folder of a server"_s));
        bench->click(bench->find("syncNow"));
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        QVERIFY(bench->text("syncLastRun").contains(u"1 pattern"_s));
        bench->key(Qt::Key_Y, Qt::ControlModifier | Qt::ShiftModifier);
        bench->click(bench->find("syncForget"));
        QCOMPARE(bench->model->sync().pairs().pairs().size(), 1);
        bench->click(bench->find("messageBarConfirm"));
        QVERIFY(bench->model->sync().pairs().pairs().isEmpty());
        QVERIFY(!bench->find("syncCard"));
    }

    void runThatEndsOutOfSightIsToldAndItsResultKept()
    {
        const auto bench = open({{"left/a", "1"}});
        bench->lookByKey();
        bench->click(bench->find("syncSave"));
        connect(bench->session(), &SyncSession::stateChanged, this, [this, &bench] {
            if (bench->state() == SyncSession::State::applying)
                m_sshd->freeze();
        });
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::applying);
        bench->session()->disconnect(this);
        bench->key(Qt::Key_Escape);
        QString told;
        connect(bench->model.get(), &AppModel::messageRaised, this, [&told](const QString &text) { told = text; });
        m_sshd->thaw();
        QTRY_COMPARE(told, u"left ↔ web: 1 done"_s);
        auto *sidebar = bench->find<QTreeWidget>("sidebar");
        const auto *item = sidebar->findItems(u"left ↔ web"_s, Qt::MatchExactly | Qt::MatchRecursive).value(0);
        QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, sidebar->visualItemRect(item).center());
        QCOMPARE(bench->text("syncEndTitle"), u"Both sides are alike"_s);
        // Seen once, it makes way for the next look.
        bench->key(Qt::Key_Escape);
        item = sidebar->findItems(u"left ↔ web"_s, Qt::MatchExactly | Qt::MatchRecursive).value(0);
        QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, sidebar->visualItemRect(item).center());
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
    }

    void pairCanBeNamedWithoutAnotherLook()
    {
        const auto bench = open({{"left/a", "1"}});
        bench->lookByKey();
        bench->click(bench->find("syncSave"));
        const QDateTime read = bench->session()->plan().readAt;
        bench->click(bench->find("syncSettings"));
        auto *name = bench->find<QLineEdit>("syncName");
        QCOMPARE(name->placeholderText(), u"left ↔ web"_s);
        name->setText(u"  My <b>site</b> "_s);
        QTest::keyClick(name, Qt::Key_Return);
        QVERIFY(!bench->find("syncName"));
        QCOMPARE(bench->text("syncTitle"), u"My <b>site</b>"_s);
        QCOMPARE(bench->model->sync().pairs().pairs().value(0).name, u"My <b>site</b>"_s);
        QCOMPARE(bench->state(), SyncSession::State::review);
        QCOMPARE(bench->session()->plan().readAt, read);
    }

    void pairThatIsNotSavedStaysOnlyWhileSomethingIsChosen()
    {
        const auto bench = open({{"left/a", "1"}});
        bench->lookByKey();
        bench->key(Qt::Key_Escape);
        QVERIFY(bench->model->sync().sessions().isEmpty());
        bench->lookByKey();
        bench->key(Qt::Key_Space);
        bench->key(Qt::Key_Escape);
        auto *sidebar = bench->find<QTreeWidget>("sidebar");
        const auto *item = sidebar->findItems(u"left ↔ web"_s, Qt::MatchExactly | Qt::MatchRecursive).value(0);
        QVERIFY(item);
        emit sidebar->customContextMenuRequested(sidebar->visualItemRect(item).center());
        bench->choose(sidebar->findChildren<QMenu *>().constLast()->actions(), "Close");
        QVERIFY(bench->model->sync().sessions().isEmpty());
        QVERIFY(sidebar->findItems(u"left ↔ web"_s, Qt::MatchExactly | Qt::MatchRecursive).isEmpty());
    }

    void whatGoesWrongIsASentenceWithARetry()
    {
        const auto bench = open({{"left/a", "1"}, {"left/b", "2"}});
        bench->lookByKey();
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::done);
        QVERIFY(QDir().rename(bench->home.path("left"), bench->home.path("away")));
        bench->click(bench->find("syncAgain"));
        QTRY_COMPARE(bench->state(), SyncSession::State::failed);
        QVERIFY(bench->text("syncEndTitle").endsWith(u"is not there. Nothing was synced."_s));
        QVERIFY(!bench->rows() && !bench->find("syncApply"));
        QCOMPARE(bench->find<QPushButton>("syncAgain")->text(), u"Try again"_s);
        QVERIFY(QDir().rename(bench->home.path("away"), bench->home.path("left")));
        bench->home.write(u"data/Moorix/sync/%1.state.json"_s.arg(bench->session()->key()), "no JSON");
        bench->click(bench->find("syncAgain"));
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        QVERIFY(bench->text("syncWarning").contains(u"could not be read and was set aside"_s));
        QVERIFY(bench->text("syncEmpty").startsWith(u"Both sides are alike."_s));
    }

    void disconnectingTheServerEndsItsSync()
    {
        const auto bench = open({{"left/a", "1"}});
        bench->lookByKey();
        connect(bench->session(), &SyncSession::stateChanged, this, [this, &bench] {
            if (bench->state() == SyncSession::State::applying)
                m_sshd->freeze();
        });
        bench->click(bench->find("syncApply"));
        QTRY_COMPARE(bench->state(), SyncSession::State::applying);
        bench->session()->disconnect(this);
        // Quitting now has to be asked about.
        bench->window->close();
        QVERIFY(bench->window->isVisible());
        QVERIFY(bench->text("messageBarText").startsWith(u"A folder sync is under way"_s));
        bench->click(bench->find("messageBarClose"));
        bench->model->connections().disconnect(bench->model->servers().library().servers.value(0).id);
        m_sshd->thaw();
        QTRY_COMPARE(bench->state(), SyncSession::State::cancelled);
    }

    void foldersThatCannotBeSyncedAreToldInWords_data()
    {
        QTest::addColumn<QString>("left");
        QTest::addColumn<QString>("right");
        QTest::addColumn<QString>("reason");
        QTest::newRow("two of this computer") << u"local"_s << u"local"_s << u"has to be a folder of a server."_s;
        QTest::newRow("two of servers") << u"server"_s << u"server"_s << u"has to be a folder of this computer."_s;
        QTest::newRow("the library") << u"library"_s << u"server"_s << u"Both sides have to show a folder"_s;
    }

    void foldersThatCannotBeSyncedAreToldInWords()
    {
        QFETCH(const QString, left);
        QFETCH(const QString, right);
        QFETCH(const QString, reason);
        const auto bench = open({{"left/a", "1"}});
        const ServerConnection server = bench->model->servers().library().servers.value(0);
        const auto showOn = [&](Side side, const QString &what) {
            if (what == u"library"_s)
                bench->model->tabs(side).openServers();
            else if (what == u"local"_s)
                bench->model->tabs(side).openLocalHere(bench->home.path("left"));
            else
                bench->model->tabs(side).openServerHere(server);
        };
        showOn(Side::left, left);
        showOn(Side::right, right);
        for (const Side side : {Side::left, Side::right})
            QTRY_VERIFY(left == u"library"_s || (bench->pane(side) && !bench->pane(side)->currentPath().isEmpty()));
        bench->key(Qt::Key_Y, Qt::ControlModifier);
        QVERIFY2(bench->text("syncReason").contains(reason), qPrintable(bench->text("syncReason")));
        QVERIFY(!bench->find("syncShown") && bench->model->sync().sessions().isEmpty());
        bench->key(Qt::Key_Escape);
        QVERIFY(bench->find("sideView"));
    }

    void choicesOfATreeGoForAllThatLiesInAFolder()
    {
        const auto bench = open({{"left/d/one", "1"}, {"left/d/two", "2"}, {"left/e", "3"}});
        bench->lookByKey();
        bench->click(bench->find("syncTree"));
        bench->select(u"d"_s);
        bench->rows()->setFocus();
        bench->key(Qt::Key_Return);
        QCOMPARE(bench->rows()->model()->rowCount(), 2);
        bench->key(Qt::Key_Left);
        QCOMPARE(bench->text("syncSummary"), u"1 to the server, 3 to delete on this computer"_s);
        // Nothing untrue stands there while something is to be deleted.
        QVERIFY(bench->text("syncFirstNotice").isEmpty());
        bench->key(Qt::Key_U);
        QCOMPARE(bench->text("syncSummary"), u"4 to the server"_s);
        QVERIFY(!bench->text("syncFirstNotice").isEmpty());
        bench->key(Qt::Key_Return);
        QCOMPARE(bench->rows()->model()->rowCount(), 4);
        emit bench->rows()->customContextMenuRequested({});
        bench->choose(bench->rows()->findChild<QMenu *>(u"syncRowMenu"_s)->actions(), "Skip");
        QCOMPARE(bench->text("syncSummary"), u"1 to the server, 3 left as they are"_s);
    }

    void sidebarKeepsThePairsAtHand()
    {
        const auto bench = open({{"left/a", "1"}});
        const auto item = [&bench](const QString &name) {
            auto *sidebar = bench->find<QTreeWidget>("sidebar");
            return sidebar->findItems(name, Qt::MatchExactly | Qt::MatchRecursive).value(0);
        };
        const auto menuOf = [&bench](const QTreeWidgetItem *of) {
            auto *sidebar = bench->find<QTreeWidget>("sidebar");
            emit sidebar->customContextMenuRequested(sidebar->visualItemRect(of).center());
            return sidebar->findChildren<QMenu *>().constLast()->actions();
        };
        QVERIFY(!item(u"left ↔ web"_s));
        bench->lookByKey();
        QVERIFY(item(u"left ↔ web"_s)->isSelected());
        bench->click(bench->find("syncSave"));
        bench->key(Qt::Key_Escape);
        QVERIFY(item(u"left ↔ web"_s) && !item(u"left ↔ web"_s)->isSelected());
        bench->choose(menuOf(item(u"left ↔ web"_s)), "Settings");
        QCOMPARE(QApplication::focusWidget(), bench->find("syncPatterns"));
        bench->find<QPlainTextEdit>("syncPatterns")->setPlainText(u"never mind"_s);
        bench->key(Qt::Key_Escape);
        QVERIFY(bench->find("syncPage") && !bench->find("syncPatterns"));
        QVERIFY(bench->model->sync().pairs().pairs().value(0).ignorePatterns.isEmpty());
        bench->restart();
        bench->choose(menuOf(item(u"left ↔ web"_s)), "Sync now");
        QTRY_COMPARE(bench->state(), SyncSession::State::review);
        bench->choose(menuOf(item(u"left ↔ web"_s)), "Forget");
        bench->click(bench->find("messageBarConfirm"));
        QVERIFY(!item(u"left ↔ web"_s));
    }

    void keysOfFileListsTouchNothingBehindASync()
    {
        const auto bench = open({{"left/a", "1"}});
        bench->select(Side::left, "a");
        bench->lookByKey();
        bench->key(Qt::Key_F8);
        bench->key(Qt::Key_F5);
        bench->key(Qt::Key_Delete);
        QVERIFY(!bench->find("messageBarConfirm"));
        bench->key(Qt::Key_W, Qt::ControlModifier);
        QVERIFY(bench->find("sideView"));
        QCOMPARE(bench->model->tabs(Side::left).sessions().size(), 1);
        QVERIFY(bench->home.exists("left/a") && !QFile::exists(onServer(u"a"_s)));
    }
};

MOORIX_TEST(SyncWindowTest)
#include "SyncWindowTest.moc"
