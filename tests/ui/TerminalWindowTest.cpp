// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include "files/LocalFileService.h"
#include "support/TestServer.h"
#include "ui/WindowActions.h"
#include "ui/pane/FileMimeData.h"
#include "ui/terminal/SSHTerminalView.h"
#include "ui/terminal/TerminalPopoutController.h"
#include "ui/terminal/TerminalView.h"

#include <QDir>
#include <QDropEvent>
#include <QMenu>
#include <QTabBar>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The window with real shells and a real server.
class TerminalWindowTest : public QObject
{
    Q_OBJECT

    QByteArray m_temporary = qgetenv("TMPDIR");

    /// A shell that says where its prompts are.
    static constexpr auto markedPrompt = "PS1='\\[\\e]133;A\\a\\]> '\n";

    static TerminalView *view(const QWidget *window)
    {
        const QList<TerminalView *> found = window->findChildren<TerminalView *>();
        return found.isEmpty() ? nullptr : found.first();
    }
    static QString text(TerminalView &view)
    {
        TerminalEmulator &terminal = view.emulator();
        return terminal.text(TerminalRange{{terminal.firstLine(), 0}, {terminal.endLine(), 0}});
    }
    static void type(TerminalView &view, const char *line) { QTest::keyClicks(&view, QString::fromUtf8(line)); }
    static void run(TerminalView &view, const char *line)
    {
        type(view, line);
        QTest::keyClick(&view, Qt::Key_Return);
    }
    /// The terminal of this computer, in the dock, with its prompt.
    static TerminalView *openLocal(const WindowBench &bench)
    {
        bench.key(Qt::Key_QuoteLeft, Qt::ControlModifier);
        TerminalView *shown = view(bench.window.get());
        [&] { QTRY_VERIFY(shown && text(*shown).contains(u">"_s)); }();
        return shown;
    }
    static QWidget *popout()
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->objectName().startsWith(u"MoorixTerminalWindow-"_s) && window->isVisible())
                return window;
        }
        return nullptr;
    }
    /// A client that reads nothing of the user's.
    static QString isolatedClient(const TestServer &sshd)
    {
        const QString path = sshd.sharedPath() + u"/../ssh"_s;
        putFile(path, "#!/bin/sh\nexec /usr/bin/ssh -F none -o UserKnownHostsFile=" + sshd.knownHostsPath().toUtf8() +
                          " -o GlobalKnownHostsFile=none \"$@\"\n");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

private slots:
    void cleanup() { m_temporary.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_temporary); }

    void localShellIsALoginShellAndCanBeStartedAgain()
    {
        WindowBench bench({{".bash_profile", "PS1='> '; cd left; echo welcome"}});
        TerminalView *terminal = openLocal(bench);
        QVERIFY(terminal->hasFocus());
        run(*terminal, "echo name=$0 term=$TERM");
        QTRY_VERIFY2(text(*terminal).contains(u"name=-"_s), qPrintable(text(*terminal)));
        QVERIFY(text(*terminal).contains(u"term=xterm-256color"_s));
        QVERIFY(bench.find<QTabBar>("terminalTabs")->tabText(0).startsWith(u"local shell — "_s));
        bench.click(bench.find("terminalOpenFolder"));
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("left"));
        run(*terminal, "exit");
        QTRY_VERIFY(text(*terminal).contains(u"[session closed]"_s));
        QVERIFY(bench.find("terminalEndBar"));
        const pid_t none = terminal->processId();
        QTest::keyClick(terminal, Qt::Key_Return);
        QTRY_COMPARE(text(*terminal).count(u"welcome"_s), 2);
        QVERIFY(none == 0 && terminal->isRunning() && !bench.find("terminalEndBar"));
        // From inside the terminal too.
        QTest::keyClick(terminal, Qt::Key_QuoteLeft, Qt::ControlModifier);
        QVERIFY(!bench.find("terminalDock"));
        bench.key(Qt::Key_QuoteLeft, Qt::ControlModifier);
        QCOMPARE(view(bench.window.get()), terminal);
    }

    void terminalMovesToItsOwnWindowAndBackWithoutLosingAnything()
    {
        WindowBench bench({{".bash_profile", "PS1='> '"}});
        TerminalView *terminal = openLocal(bench);
        const pid_t process = terminal->processId();
        run(*terminal, "for ((i=1; i<=3000; i++)); do echo n$i; ((i % 10)) || sleep 0.005; done; echo all done");
        for (int round = 0; round < 10; ++round) {
            bench.click(bench.find("terminalPopOut"));
            QVERIFY(popout() && view(popout()) == terminal && !view(bench.window.get()));
            QTest::qWait(20);
            bench.click(popout()->findChild<QPushButton *>(u"attachBack"_s));
            QVERIFY(!popout() && view(bench.window.get()) == terminal);
        }
        QTRY_VERIFY_WITH_TIMEOUT(text(*terminal).contains(u"\nall done"_s), 20000);
        const QStringList lines = text(*terminal).split(u'\n').mid(1);
        const qsizetype first = lines.indexOf(u"n1"_s);
        for (int i = 1; i <= 3000; ++i)
            QCOMPARE(lines.value(first + i - 1), u"n%1"_s.arg(i));
        QVERIFY(terminal->isRunning() && terminal->processId() == process);
    }

    void shakenWindowAttachesWhenItIsLetGo()
    {
        WindowBench bench({{".bash_profile", "PS1='> '"}});
        TerminalView *terminal = openLocal(bench);
        bench.click(bench.find("terminalPopOut"));
        auto *window = qobject_cast<TerminalPopoutController *>(popout());
        const QString before = window->styleSheet();
        bench.model->settings().themeID.set(u"daylight"_s);
        QTRY_VERIFY(window->styleSheet() != before && window->styleSheet() == bench.window->styleSheet());
        for (int i = 0; i < 4; ++i)
            window->trackShake(i * 0.1, i % 2 * 50);
        QCOMPARE(bench.find<QLabel>("shakeHint")->text(), u"Shake to attach back"_s);
        QTRY_VERIFY(!bench.find("shakeHint"));
        QVERIFY(popout());
        for (int i = 0; i < 5; ++i)
            window->trackShake(10 + i * 0.1, i % 2 * 50);
        QCOMPARE(bench.find<QLabel>("shakeHint")->text(), u"Release to attach terminal"_s);
        QTRY_VERIFY(!popout());
        QVERIFY(view(bench.window.get()) == terminal && terminal->isRunning() && !bench.find("shakeHint"));
    }

    void closingAsksWhereAProgramIsAtWork()
    {
        WindowBench bench({{".bash_profile", "PS1='> '"}});
        TerminalView *terminal = openLocal(bench);
        run(*terminal, "sleep 100");
        QTRY_VERIFY(terminal->hasForegroundProgram());
        bench.click(bench.find("terminalClose"));
        QVERIFY(bench.find<QLabel>("messageBarText")->text().contains(u"A program is running"_s));
        bench.click(bench.find("messageBarClose"));
        QVERIFY(!bench.window->close());
        QVERIFY(bench.find<QLabel>("messageBarText")->text().contains(u"A terminal is in use"_s));
        bench.click(bench.find("messageBarClose"));
        QTest::keyClick(terminal, Qt::Key_C, Qt::ControlModifier);
        QTRY_VERIFY(!terminal->hasForegroundProgram());
        bench.click(bench.find("terminalClose"));
        QTRY_VERIFY(!view(bench.window.get()) && !bench.find("terminalDock"));
        QVERIFY(bench.window->close());
    }

    void foldersGoBothWaysAndNothingIsExecutedInDoubt()
    {
        WindowBench bench({{".bash_profile", markedPrompt}, {"left/it's \"$(x)\"/", {}}, {"elsewhere/", {}}});
        TerminalView *terminal = openLocal(bench);
        bench.model->setActiveSide(Side::left);
        const QString odd = bench.home.path("left/it's \"$(x)\"");
        bench.pane(Side::left)->load(odd, true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), odd);
        type(*terminal, "rm -rf ");
        QTRY_VERIFY(text(*terminal).contains(u"rm -rf"_s));
        bench.click(bench.find("terminalGoToFolder"));
        QTRY_VERIFY(text(*terminal).contains(u"rm -rf cd -- "_s));
        QTest::keyClick(terminal, Qt::Key_C, Qt::ControlModifier);
        // The shell has not thrown the line away yet.
        QVERIFY(!terminal->isAtEmptyPrompt());
        QTRY_VERIFY(terminal->isAtEmptyPrompt());
        bench.click(bench.find("terminalGoToFolder"));
        run(*terminal, "echo \"[$PWD]\"");
        QTRY_VERIFY2(text(*terminal).contains(u"["_s + odd + u"]"_s), qPrintable(text(*terminal)));
        QVERIFY(bench.home.exists("left/it's \"$(x)\""));
        run(*terminal,
            qPrintable(u"cd %1; printf '\\e]7;file://elsewhere.example/etc\\a'"_s.arg(bench.home.path("elsewhere"))));
        QTRY_COMPARE(terminal->emulator().workingFolder(), u"/etc"_s);
        bench.click(bench.find("terminalOpenFolder"));
        QVERIFY(bench.find<QLabel>("messageBarText")->text().contains(u"elsewhere.example"_s));
        run(*terminal, "printf \"\\e]7;file://localhost$PWD\\a\"");
        QTRY_COMPARE(terminal->emulator().workingFolder(), bench.home.path("elsewhere"));
        bench.click(bench.find("terminalOpenFolder"));
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("elsewhere"));
    }

    void terminalInATabOfASideOutlivesTheTab()
    {
        WindowBench bench({{".bash_profile", "PS1='> '"}, {"left/deep/", {}}});
        bench.pane(Side::left)->load(bench.home.path("left/deep"), true);
        QTRY_COMPARE(bench.pane(Side::left)->currentPath(), bench.home.path("left/deep"));
        bench.key(Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier);
        TerminalView *terminal = view(bench.window.get());
        QTRY_VERIFY(text(*terminal).contains(u">"_s));
        run(*terminal, "echo [$PWD]");
        QTRY_VERIFY(text(*terminal).contains(u"["_s + bench.home.path("left/deep") + u"]"_s));
        PaneTabs &tabs = bench.model->tabs(Side::left);
        bench.choose(bench.window->actions(), "Terminal in this side");
        QCOMPARE(tabs.slot().mode(), PaneMode::terminal);
        QVERIFY(bench.find("terminalTitle") && !bench.find("terminalDock"));
        QVERIFY(view(bench.window.get()) == terminal && terminal->hasFocus());
        tabs.close(tabs.currentIndex());
        QTRY_COMPARE(view(bench.window.get()), terminal);
        QVERIFY(terminal->isRunning() && tabs.current().mode() == PaneMode::local);
    }

    void droppedFilesAreTypedAsQuotedPaths()
    {
        const QString odd = u"$(x) \"a\\b' !c"_s;
        WindowBench bench({{".bash_profile", "PS1='> '"}});
        bench.home.write(QString(u"left/"_s + odd), "al");
        bench.home.write("left/plain", "pha");
        TerminalView *terminal = openLocal(bench);
        const auto drop = [&](const QMimeData &data) {
            QDragEnterEvent enter({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(terminal->viewport(), &enter);
            QDropEvent event({9, 9}, Qt::CopyAction, &data, Qt::LeftButton, {});
            QApplication::sendEvent(terminal->viewport(), &event);
        };
        run(*terminal, "cd left; PS1='ready> '");
        QTRY_VERIFY(text(*terminal).contains(u"\nready>"_s));
        type(*terminal, "cat ");
        QTRY_VERIFY(text(*terminal).contains(u"\nready> cat"_s));
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(bench.home.path(QString(u"left/"_s + odd))),
                       QUrl::fromLocalFile(bench.home.path("left/plain"))});
        drop(files);
        QTRY_VERIFY(text(*terminal).contains(u"left/plain"_s));
        QVERIFY(!text(*terminal).contains(u"alpha"_s) && !terminal->hasForegroundProgram());
        QTest::keyClick(terminal, Qt::Key_Return);
        QTRY_VERIFY2(text(*terminal).contains(u"alpha"_s), qPrintable(text(*terminal)));
        const auto *note = terminal->findChild<QLabel *>(u"terminalNote"_s);
        QVERIFY(!note->isVisible());
        // A copy of the service is not that of this computer, and nobody knows whose it is.
        FileItem item;
        item.path = u"/srv/x"_s;
        drop(FileMimeData(std::make_shared<LocalFileService>(), {item}, false));
        QTRY_VERIFY(text(*terminal).contains(u"\"/srv/x\""_s));
        QVERIFY(note->text().contains(u"not on this terminal"_s));
    }

    void settingsApplyToLiveTerminals()
    {
        WindowBench bench({{".bash_profile", "PS1='> '"}});
        TerminalView *terminal = openLocal(bench);
        SettingsStore &settings = bench.model->settings();
        settings.terminalThemeID.set(u"novel"_s);
        QTRY_COMPARE(terminal->colors().background, QColor(u"#f4ecd8"_s));
        const auto rows = [&] { return terminal->emulator().size().rows; };
        settings.terminalFontSize.set(6);
        QTRY_VERIFY(rows() > 15);
        emit terminal->fontSizeStepped(-1);
        QCOMPARE(settings.terminalFontSize.value(), 6);
        emit terminal->fontSizeStepped(1);
        QCOMPARE(settings.terminalFontSize.value(), 7);
        settings.terminalFontSize.set(30);
        QTRY_VERIFY(rows() < 8);
        bench.choose(bench.window->actions(), "Terminal in this side");
        QTRY_VERIFY(rows() > 8);
    }

    void serversShellOpenedFromAListBeginsInItsFolder()
    {
        TestServer sshd;
        WindowBench bench({}, std::make_shared<IsolatedClients>(sshd.knownHostsPath()), isolatedClient(sshd));
        const QString folder = sshd.sharedPath() + u"/it's $here"_s;
        QDir().mkpath(folder);
        putFile(folder + u"/file"_s, "x");
        const ServerConnection server = sshd.connection();
        bench.model->servers().upsert(server);
        bench.model->tabs(Side::left).openServerHere(server, folder);
        QTRY_VERIFY(bench.pane(Side::left) && bench.pane(Side::left)->currentPath() == folder);
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 1);
        bench.model->setActiveSide(Side::left);
        bench.key(Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier);
        TerminalView *terminal = view(bench.window.get());
        QTRY_VERIFY(terminal && terminal->isRunning());
        run(*terminal, "echo [$PWD] of ${SSH_CONNECTION:+the server}");
        QTRY_VERIFY2_WITH_TIMEOUT(text(*terminal).contains(u"["_s + folder + u"] of the server"_s),
                                  qPrintable(text(*terminal)), 20000);
        // The server's own file: its path there, and nothing to be said about it.
        const FileItem item = bench.pane(Side::left)->displayedItem(0);
        const FileMimeData files(bench.pane(Side::left)->service(), {item}, false);
        QDragEnterEvent enter({9, 9}, Qt::CopyAction, &files, Qt::LeftButton, {});
        QApplication::sendEvent(terminal->viewport(), &enter);
        QDropEvent event({9, 9}, Qt::CopyAction, &files, Qt::LeftButton, {});
        QApplication::sendEvent(terminal->viewport(), &event);
        QTRY_VERIFY(text(*terminal).contains(item.name));
        QVERIFY(!terminal->findChild<QLabel *>(u"terminalNote"_s)->isVisible());
    }

    void serversShellRunsAndNoFileOfItsLoginIsLeft()
    {
        TestServer sshd;
        WindowBench bench({{"tmp/", {}}}, std::make_shared<IsolatedClients>(sshd.knownHostsPath()),
                          isolatedClient(sshd));
        qputenv("TMPDIR", bench.home.path("tmp").toUtf8());
        ServerConnection server = sshd.connection();
        server.authMethod = AuthMethod::privateKeyPasted;
        bench.model->keychain()->set(QString::fromUtf8(contentOf(sshd.encryptedKeyPath())), server.id,
                                     SecretKind::privateKey);
        bench.model->keychain()->set(TestServer::passphrase(), server.id, SecretKind::passphrase);
        bench.model->servers().upsert(server);
        const auto *sidebar = bench.find<QTreeWidget>("sidebar");
        QTreeWidgetItem *item = sidebar->findItems(server.name, Qt::MatchExactly | Qt::MatchRecursive).value(0);
        emit bench.find<QTreeWidget>("sidebar")->customContextMenuRequested(sidebar->visualItemRect(item).center());
        for (QAction *action : bench.find<QMenu>("")->actions()) {
            if (action->text() == u"Open terminal"_s)
                action->trigger();
        }
        TerminalView *terminal = view(bench.window.get());
        QVERIFY(terminal && !bench.find("terminalEndBar"));
        QTRY_VERIFY(terminal->isRunning() && !bench.find("terminalConnecting"));
        QCOMPARE(QDir(bench.home.path("tmp")).entryList(QDir::Files).size(), 3);
        run(*terminal, "printf 'there: %s\\n' \"${SSH_CONNECTION:+yes}\"");
        QTRY_VERIFY_WITH_TIMEOUT(text(*terminal).contains(u"there: yes"_s), 20000);
        run(*terminal, "exit");
        QTRY_VERIFY(text(*terminal).contains(u"[session closed]"_s));
        QCOMPARE(QDir(bench.home.path("tmp")).entryList(QDir::Files), QStringList());
        // A wrong passphrase: the client's own words, and nothing left either.
        bench.model->keychain()->set(u"wrong"_s, server.id, SecretKind::passphrase);
        bench.click(bench.find("terminalReconnect"));
        QTRY_COMPARE_WITH_TIMEOUT(text(*terminal).count(u"[session closed]"_s), 2, 20000);
        QVERIFY(text(*terminal).contains(u"Permission denied"_s));
        QCOMPARE(QDir(bench.home.path("tmp")).entryList(QDir::Files), QStringList());
        server = serverAt(u"ftp.example"_s, u"x"_s, 21);
        server.networkProtocol = NetworkProtocol::ftp;
        bench.model->servers().upsert(server);
        QSignalSpy messages(bench.model.get(), &AppModel::messageRaised);
        bench.model->tabs(Side::left).openServerHere(server);
        bench.choose(bench.window->actions(), "Terminal in this side");
        QVERIFY(messages.last().value(0).toString().contains(u"FTP, which carries files only"_s));
    }
};

MOORIX_TEST(TerminalWindowTest)

#include "TerminalWindowTest.moc"
