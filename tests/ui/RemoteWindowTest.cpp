// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include "app/EditedFiles.h"
#include "app/ServerConnections.h"
#include "files/TransferSpeed.h"
#include "remote/SFTPService.h"
#include "support/TestServer.h"
#include "transfers/TransferEngine.h"
#include "ui/editor/EditorView.h"

#include <QDesktopServices>
#include <QDir>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QUrl>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The window with a real server.
class RemoteWindowTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestServer> m_sshd;
    QByteArray m_temporary;
    QStringList m_opened;

    QString onServer(const QString &name) const { return m_sshd->sharedPath() + u'/' + name; }

    /// The server as a saved record whose start folder is the shared one.
    ServerConnection addServer(const WindowBench &bench) const
    {
        ServerConnection server = m_sshd->connection();
        server.remotePath = m_sshd->sharedPath();
        bench.model->servers().upsert(server);
        return server;
    }

    std::shared_ptr<ProcessRunner> clients() const
    {
        return std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
    }

    /// Connects the right side by a click in the sidebar.
    ServerConnection connectRight(const WindowBench &bench) const
    {
        ServerConnection server = addServer(bench);
        bench.model->setActiveSide(Side::right);
        auto *sidebar = bench.find<QTreeWidget>("sidebar");
        const auto found = sidebar->findItems(server.name, Qt::MatchExactly | Qt::MatchRecursive);
        QTest::mouseClick(sidebar->viewport(), Qt::LeftButton, {}, sidebar->visualItemRect(found.value(0)).center());
        [&] {
            QTRY_VERIFY(bench.pane(Side::right) && bench.pane(Side::right)->currentPath() == m_sshd->sharedPath());
        }();
        return server;
    }

    /// Presses a key on the only file of a server that the right side was connected to.
    ServerConnection press(const WindowBench &bench, Qt::Key key) const
    {
        const ServerConnection server = connectRight(bench);
        [&] { QTRY_COMPARE(bench.pane(Side::right)->displayedCount(), 1); }();
        bench.pane(Side::right)->setSelection({bench.pane(Side::right)->displayedItem(0).id()});
        bench.key(key);
        return server;
    }

    /// What lies in the temporary folder, apart from the login of a connection that lasts, and among edited files.
    static QStringList copiesIn(const WindowBench &bench)
    {
        QStringList names = QDir(bench.home.path("tmp")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        names.removeIf([](const QString &name) { return name.startsWith(u"moorix-login-"_s); });
        return names + QDir(bench.home.path("data/Moorix/edited")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

    static QStringList namesIn(const PaneModel &pane) { return namesOf(pane.displayed()); }

private slots:
    void openUrl(const QUrl &url) { m_opened << url.toLocalFile(); }

    void initTestCase()
    {
        m_temporary = qgetenv("TMPDIR");
        m_sshd = std::make_unique<TestServer>();
        QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
    }

    void cleanup()
    {
        m_temporary.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_temporary);
        m_opened.clear();
        for (const QString &name : QDir(m_sshd->sharedPath()).entryList(QDir::Files))
            QFile::remove(onServer(name));
    }

    void cleanupTestCase()
    {
        QDesktopServices::unsetUrlHandler(u"file"_s);
        m_sshd.reset();
    }

    void filesGoBothWaysAndTheConnectionEnds()
    {
        putFile(onServer(u"from server.txt"_s), "remote");
        WindowBench bench({{"left/from here.txt", "local"}}, clients());
        const ServerConnection server = connectRight(bench);
        QVERIFY(bench.find<QLabel>("messageBarText")->text().contains(u"First contact with 127.0.0.1"_s));
        bench.click(bench.find("messageBarClose"));
        QVERIFY(bench.model->tabs(Side::right).current().notice().isEmpty());

        bench.model->settings().limitTransferSpeed.set(true);
        bench.model->setActiveSide(Side::left);
        bench.select(Side::left, "from here.txt");
        bench.key(Qt::Key_F5);
        QTRY_COMPARE(contentOf(onServer(u"from here.txt"_s)), "local");
        QTRY_COMPARE(namesIn(*bench.pane(Side::right)), (QStringList{u"from here.txt"_s, u"from server.txt"_s}));
        bench.key(Qt::Key_Tab);
        bench.select(Side::right, "from server.txt");
        bench.key(Qt::Key_F5);
        QTRY_COMPARE(bench.home.read("left/from server.txt"), "remote");

        // A transfer that waits for an answer would be broken off.
        bench.key(Qt::Key_F5);
        QTRY_VERIFY(bench.find("conflictBar"));
        bench.key(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.model->connections().isConnected(server.id));
        bench.model->transfers().answer({ConflictAnswer::Choice::skip});
        bench.click(bench.find("messageBarClose"));
        QTRY_VERIFY(!isOpen(bench.model->transfers().transfers().last().state));

        QVERIFY(bench.model->connections().isConnected(server.id));
        const auto service = std::dynamic_pointer_cast<SFTPService>(bench.pane(Side::right)->service());
        QCOMPARE(service->speed()->limit(), 1'000'000);
        bench.key(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(!bench.model->connections().isConnected(server.id) && !service->isConnected());
        QVERIFY(bench.find("failureView"));
        bench.key(Qt::Key_R, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("failureView"));
        bench.click(bench.find("retry"));
        QTRY_COMPARE(bench.pane(Side::right) ? namesIn(*bench.pane(Side::right)).size() : 0, 2);
    }

    void whatIsDroppedOnAServerGoesToItsStartFolderAndTheListNamesIt()
    {
        WindowBench bench({{"left/a.txt", "a"}}, clients());
        ServerConnection server = addServer(bench);
        bench.key(Qt::Key_J, Qt::ControlModifier);
        bench.select(Side::left, "a.txt");
        QVERIFY(bench.dropOnSidebar(Side::left, server.name) != Qt::IgnoreAction);
        QTRY_COMPARE(contentOf(onServer(u"a.txt"_s)), "a");
        QVERIFY(bench.home.exists("left/a.txt"));
        const auto row = [&bench] { return bench.find<QTreeWidget>("transferList")->topLevelItem(0)->text(0); };
        QVERIFY2(row().endsWith(u" on "_s + server.name), qPrintable(row()));
        server.name = u"renamed"_s;
        bench.model->servers().upsert(server);
        QVERIFY2(row().endsWith(u" on renamed"_s), qPrintable(row()));
        bench.model->removeServer(server.id);
        QVERIFY2(row().endsWith(u" on renamed"_s), qPrintable(row()));
    }

    void otherSideWorksWhileTheServerIsFrozenAndTheWaitCanBeGivenUp()
    {
        putFile(onServer(u"a.txt"_s), "a");
        WindowBench bench({{"left/inside/b.txt", "b"}, {"left/c.txt", "c"}}, clients());
        connectRight(bench);
        QTRY_COMPARE(namesIn(*bench.pane(Side::right)), QStringList{u"a.txt"_s});
        m_sshd->freeze();
        bench.key(Qt::Key_R, Qt::ControlModifier);
        QVERIFY(bench.pane(Side::right)->isLoading());
        bench.key(Qt::Key_Tab);
        bench.select(Side::left, "inside");
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(namesIn(*bench.pane(Side::left)), QStringList{u"b.txt"_s});
        QVERIFY(bench.pane(Side::right)->isLoading());
        const SessionView &frozen = *bench.sideView(Side::right).currentView();
        const QLabel &status = *frozen.findChild<QLabel *>(u"statusLine"_s);
        QTRY_COMPARE(status.text(), u"Listing %1…"_s.arg(m_sshd->sharedPath()));
        bench.click(frozen.findChild<QWidget *>(u"statusCancel"_s));
        QVERIFY(!bench.pane(Side::right)->isLoading());
        QTRY_COMPARE(status.text().left(7), u"Listing"_s);
        QCOMPARE(namesIn(*bench.pane(Side::right)), QStringList{u"a.txt"_s});
        m_sshd->thaw();
        putFile(onServer(u"b.txt"_s), "b");
        bench.pane(Side::right)->reload();
        QTRY_COMPARE(namesIn(*bench.pane(Side::right)).size(), 2);
    }

    void editedFileThatCannotBeUploadedIsAskedAboutUntilItIsOnTheServer()
    {
        putFile(onServer(u"notes & plans.txt"_s), "text");
        WindowBench bench({}, clients());
        press(bench, Qt::Key_Return);
        QTRY_COMPARE(m_opened.size(), 1);
        QFile copy(m_opened.first());
        QVERIFY(copy.open(QIODevice::ReadWrite) && copy.readAll() == "text");
        putFile(onServer(u"notes & plans.txt"_s), "theirs");
        copy.write(" and mine");
        copy.close();
        QTRY_VERIFY(bench.find("editedFilesBar"));
        QVERIFY(bench.find<QLabel>("editedHeading")->text().startsWith(u"“notes & plans.txt” was changed on "_s));
        bench.window->close();
        QVERIFY(bench.window->isVisible());
        QVERIFY(bench.find<QLabel>("messageBarText")->text().contains(u"your version is kept for the next start"_s));
        bench.click(bench.find("messageBarConfirm"));
        bench.stop();
        QCOMPARE(copiesIn(bench).size(), 1);

        bench.start();
        QTRY_VERIFY(bench.find("editedFilesBar"));
        bench.click(bench.find("editedUpload"));
        QTRY_VERIFY(bench.find("editedKeepBoth"));
        QCOMPARE(contentOf(onServer(u"notes & plans.txt"_s)), "theirs");
        bench.click(bench.find("editedKeepBoth"));
        QTRY_COMPARE(contentOf(onServer(u"notes & plans 2.txt"_s)), "text and mine");
        QTRY_VERIFY(bench.model->editedFiles().unsent().isEmpty());
        QVERIFY(!bench.find("editedFilesBar"));
        bench.stop();
        QTRY_COMPARE(copiesIn(bench), QStringList());
    }

    void slowUploadOfAnEditedFileCanBeGivenUpAndIsMadeUpForBeforeQuitting()
    {
        putFile(onServer(u"a.txt"_s), "text");
        WindowBench bench({}, clients());
        const ServerConnection server = press(bench, Qt::Key_Return);
        QTRY_COMPARE(m_opened.size(), 1);
        m_sshd->freeze();
        putFile(m_opened.first(), "mine");
        QTRY_VERIFY(bench.find("editedUploadLine"));
        QVERIFY(bench.find<QLabel>("editedUploadText")->text().startsWith(u"Uploading “a.txt” to "_s));
        QVERIFY(!bench.find("editedHeading"));
        bench.click(bench.find("editedCancel"));
        QVERIFY(!bench.find("editedUploadLine"));
        QVERIFY(bench.find<QLabel>("editedHeading")->text().startsWith(u"The upload of “a.txt”"_s));
        m_sshd->thaw();

        bench.key(Qt::Key_K, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(bench.model->connections().isConnected(server.id));
        bench.click(bench.find("messageBarConfirm"));
        QVERIFY(!bench.model->connections().isConnected(server.id));
        QCOMPARE(contentOf(onServer(u"a.txt"_s)), "text");
        bench.window->close();
        QVERIFY(bench.window->isVisible());
        bench.click(bench.find("messageBarBetter"));
        const auto problems = [&bench] {
            QStringList texts;
            for (const EditedFile &file : bench.model->editedFiles().unsent())
                texts += QString::number(int(file.state)) + u": "_s + file.problem;
            return texts.join(u"; ").toStdString();
        };
        QTRY_VERIFY2_WITH_TIMEOUT(!bench.window->isVisible(), problems().c_str(), 20'000);
        QCOMPARE(contentOf(onServer(u"a.txt"_s)), "mine");
        bench.stop();
        QTRY_COMPARE(copiesIn(bench), QStringList());
    }

    void serversFileIsEditedHereAndItsTextOutlivesRefusalAndCrash()
    {
        putFile(onServer(u"a.conf"_s), "text\n");
        WindowBench bench({}, clients());
        press(bench, Qt::Key_F4);
        const auto view = [&bench] { return bench.find<EditorView>("editorView"); };
        QTRY_VERIFY(view() && view()->hasFocus());
        QVERIFY(bench.find<QLabel>("editorFile")->text().contains(onServer(u"a.conf"_s)));
        QTest::keyClicks(view(), QLatin1String("my "));
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_COMPARE(contentOf(onServer(u"a.conf"_s)), "my text\n");

        putFile(onServer(u"a.conf"_s), "theirs\n");
        QTest::keyClicks(view(), QLatin1String("own "));
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(bench.find("editedFilesBar"));
        QCOMPARE(contentOf(onServer(u"a.conf"_s)), "theirs\n");
        QCOMPARE(view()->content(), "my own text\n");
        bench.click(bench.find("editedUpload"));
        QTRY_COMPARE(contentOf(onServer(u"a.conf"_s)), "my own text\n");
        QTRY_VERIFY(bench.model->editedFiles().unsent().isEmpty());

        QTest::keyClicks(view(), QLatin1String("typed "));
        const QDir unsaved(bench.home.path("data/Moorix/unsaved"));
        QTRY_COMPARE(unsaved.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 1);
        const std::weak_ptr<RecoveryCopies> copies = bench.model->recoveryCopies();
        bench.stop();
        QTRY_VERIFY(copies.expired());
        bench.start();
        QTRY_VERIFY(bench.find("unsavedTextBar"));
        bench.click(bench.find("unsavedTextBar")->findChild<QPushButton *>(u"messageBarConfirm"_s));
        QTRY_VERIFY(view() && view()->content() == "my own typed text\n");
        bench.key(Qt::Key_S, Qt::ControlModifier);
        QTRY_COMPARE_WITH_TIMEOUT(contentOf(onServer(u"a.conf"_s)), "my own typed text\n", 20'000);
    }

    void largeFileIsAskedAboutAndItsDownloadCanBeGivenUp()
    {
        QFile large(onServer(u"large.iso"_s));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(400'000'000));
        WindowBench bench({{"tmp/", ""}}, clients());
        qputenv("TMPDIR", bench.home.path("tmp").toUtf8());
        const auto question = [&bench] {
            const QWidget *bar = bench.find("openingBar");
            return bar ? bar->findChild<QLabel *>(u"messageBarText"_s)->text() : QString();
        };
        press(bench, Qt::Key_Return);
        QTRY_VERIFY2(question().contains(u"400 MB"_s), qPrintable(question()));
        bench.key(Qt::Key_Escape);
        QTRY_VERIFY(!bench.find("openingBar"));
        bench.activateList(Side::right);
        bench.key(Qt::Key_Return);
        QTRY_VERIFY(bench.find("openingBar"));
        bench.click(bench.find("openingBar")->findChild<QPushButton *>(u"messageBarConfirm"_s));
        QTRY_VERIFY(copiesIn(bench).size() == 1);
        m_sshd->freeze();
        QTRY_VERIFY2(question().startsWith(u"Fetching “large.iso”: "_s), qPrintable(question()));
        QVERIFY(bench.find<QProgressBar>("messageBarProgress"));
        bench.click(bench.find("openingBar")->findChild<QPushButton *>(u"messageBarConfirm"_s));
        QTRY_VERIFY(!bench.find("openingBar"));
        m_sshd->thaw();
        QTRY_COMPARE(copiesIn(bench), QStringList());
        QCOMPARE(m_opened, QStringList());
    }

    void fileThatCouldNotBeFetchedIsTriedAnewByOpeningItAgain()
    {
        putFile(onServer(u"a.txt"_s), "text");
        WindowBench bench({{"tmp/", ""}}, clients());
        qputenv("TMPDIR", bench.home.path("tmp").toUtf8());
        connectRight(bench);
        QTRY_COMPARE(bench.pane(Side::right)->displayedCount(), 1);
        bench.pane(Side::right)->setSelection({bench.pane(Side::right)->displayedItem(0).id()});
        QFile::remove(onServer(u"a.txt"_s));
        bench.key(Qt::Key_Return);
        QTRY_VERIFY(bench.find("openingBar") &&
                    bench.find("openingBar")->findChild<QLabel *>()->text().contains(u"Not"));
        putFile(onServer(u"a.txt"_s), "text");
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(m_opened.size(), 1);
        QTRY_VERIFY(!bench.find("openingBar"));
    }

    void quickLookShowsTheBeginningOfALargeFile()
    {
        putFile(onServer(u"server.log"_s), QByteArray("a line of the log\n").repeated(1'200'000));
        WindowBench bench({{"tmp/", ""}}, clients());
        qputenv("TMPDIR", bench.home.path("tmp").toUtf8());
        press(bench, Qt::Key_F3);
        QTRY_VERIFY(bench.find<QPlainTextEdit>("quickLookText"));
        const QString shown = bench.find<QPlainTextEdit>("quickLookText")->toPlainText();
        QCOMPARE(shown.size(), 1024 * 1024);
        QVERIFY(shown.startsWith(u"a line of the log\na line"_s));
        QTRY_COMPARE(copiesIn(bench), QStringList());
    }

    void strictServerConnectsOnceItsFingerprintIsTrusted()
    {
        QFile::remove(m_sshd->knownHostsPath());
        WindowBench bench({}, clients());
        ServerConnection server = addServer(bench);
        server.strictHostKeyChecking = true;
        bench.model->servers().upsert(server);
        bench.model->tabs(Side::left).openServerHere(server);
        QTRY_VERIFY(bench.find("hostKeyPanel"));
        QTRY_VERIFY(bench.find("trustKey")->isEnabled());
        QVERIFY(bench.find<QLabel>("offeredKeys")->text().startsWith(u"ED25519 SHA256:"_s));
        bench.click(bench.find("trustKey"));
        QTRY_VERIFY(bench.pane(Side::left) && bench.pane(Side::left)->currentPath() == m_sshd->sharedPath());
        QCOMPARE(bench.model->tabs(Side::left).current().notice(), QString());
    }

    void formTriesTheConnectionAndSaysWhatItFound()
    {
        putFile(onServer(u"a.txt"_s), "a");
        WindowBench bench({}, clients());
        addServer(bench);
        bench.key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QTest::keyClick(bench.find("serverTree"), Qt::Key_Return, Qt::AltModifier);
        QTRY_VERIFY(bench.find("connectionForm"));
        const auto tryWith = [&bench](const QString &folder) {
            bench.find<QLineEdit>("remotePath")->setText(folder);
            bench.click(bench.find("testConnection"));
        };
        tryWith(onServer(u"gone"_s));
        QTRY_VERIFY(bench.find<QLabel>("testResult")->text().contains(u"gone"_s));
        tryWith(m_sshd->sharedPath());
        QTRY_COMPARE(bench.find<QLabel>("testResult")->text(),
                     u"Connected to 127.0.0.1. “%1” shows 1 item."_s.arg(m_sshd->sharedPath()));
        bench.click(bench.find("cancelForm"));
        QCOMPARE(bench.model->servers().library().servers.first().remotePath, m_sshd->sharedPath());
    }
};

MOORIX_TEST(RemoteWindowTest)
#include "RemoteWindowTest.moc"
