// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/Runner.h"

#include "platform/TerminalProcess.h"
#include "servers/KeychainStore.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "terminal/TerminalEnvironment.h"

#include <QDir>
#include <QProcess>
#include <QSignalSpy>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// Notes what it is told to start.
class NotedTerminal final : public ProgramTerminal
{
public:
    QByteArray shown;
    QList<TerminalLaunch> launches;

    void feed(QByteArrayView bytes) override { shown += bytes; }
    void startProcess(const TerminalLaunch &launch) override { launches << launch; }
};

} // namespace

class RunnerTest : public QObject
{
    Q_OBJECT

    QByteArray m_temporary = qgetenv("TMPDIR");

    static QStringList left(const TestTree &tree) { return QDir(tree.path()).entryList(QDir::Files); }

private slots:
    void cleanup() { m_temporary.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_temporary); }

    void environmentKeepsALanguageAndNamesTheTerminal()
    {
        QProcessEnvironment own;
        own.insert(u"TERM"_s, u"dumb"_s);
        own.insert(u"A"_s, u"1"_s);
        QProcessEnvironment extra;
        extra.insert(u"A"_s, u"2=3"_s);
        QCOMPARE(sorted(TerminalEnvironment::environmentArray(own, extra)),
                 (QStringList{u"A=2=3"_s, u"LANG=en_US.UTF-8"_s, u"TERM=xterm-256color"_s}));
        own.insert(u"LANG"_s, u"de_DE.UTF-8"_s);
        QVERIFY(TerminalEnvironment::environmentArray(own, {}).contains(u"LANG=de_DE.UTF-8"_s));
    }

    void localShellIsTheAccountsElseTheVariablesElseZsh()
    {
        QCOMPARE(TerminalEnvironment::loginShell(u"/bin/a"_s, u"/bin/b"_s), u"/bin/a"_s);
        QCOMPARE(TerminalEnvironment::loginShell({}, u"/bin/b"_s), u"/bin/b"_s);
        const QByteArray shell = qgetenv("SHELL");
        qunsetenv("SHELL");
        ServerConnection local;
        local.id = ServerConnection::localTerminalID;
        NotedTerminal terminal;
        Runner runner(local, {nullptr, u"/usr/bin/ssh"_s, u"/home/x"_s, {}});
        runner.launch(terminal);
        runner.launch(terminal);
        if (!shell.isNull())
            qputenv("SHELL", shell);
        QCOMPARE(terminal.launches.size(), 1);
        const TerminalLaunch &launch = terminal.launches.first();
        QCOMPARE(launch.program, u"/bin/zsh"_s);
        QCOMPARE(launch.executableName, u"-zsh"_s);
        QVERIFY(launch.arguments.isEmpty() && launch.workingFolder == u"/home/x"_s);
    }

    void sshGetsItsSecretsByFilesThatGoWithTheSession()
    {
        TestTree temporary;
        qputenv("TMPDIR", temporary.path().toUtf8());
        auto keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
        ServerConnection server = serverAt(u"host.example"_s, u"deploy"_s, 2222);
        server.authMethod = AuthMethod::privateKeyPasted;
        keychain->set(u"KEY"_s, server.id, SecretKind::privateKey);
        keychain->set(u"open sesame"_s, server.id, SecretKind::passphrase);
        NotedTerminal terminal;
        auto runner = std::make_unique<Runner>(server, Runner::Environment{keychain, u"/usr/bin/ssh"_s, u"/"_s, {}});
        runner->launch(terminal);
        QVERIFY(terminal.launches.isEmpty() && runner->isPreparing());
        QTRY_COMPARE(terminal.launches.size(), 1);
        const TerminalLaunch launch = terminal.launches.first();
        QCOMPARE(launch.arguments.mid(launch.arguments.size() - 3),
                 (QStringList{u"-p"_s, u"2222"_s, u"deploy@host.example"_s}));
        const QString all = (launch.arguments + launch.environment).join(u'\n');
        QVERIFY(!all.contains(u"open sesame"_s) && all.contains(u"SSH_ASKPASS_REQUIRE=force"_s));
        QCOMPARE(left(temporary).size(), 3);
        runner->processEnded(terminal);
        QCOMPARE(terminal.shown, "\r\n[session closed]\r\n");
        QCOMPARE(left(temporary), QStringList());
        // A session can begin anew, and nothing is left of one that goes while its files are being made.
        runner->launch(terminal);
        QTRY_COMPARE(terminal.launches.size(), 2);
        runner->processEnded(terminal);
        runner->launch(terminal);
        runner.reset();
        QTRY_COMPARE(keychain.use_count(), 1);
        QCOMPARE(left(temporary), QStringList());
        QCOMPARE(terminal.launches.size(), 2);
    }

    void serversShellBeginsInAFolderOnceOrElseAtHome()
    {
        const QString odd = u"$(x) \"a\\b' !c"_s;
        TestTree tree;
        tree.write(QString(odd + u'/'), {});
        tree.write("home/", {});
        tree.write("shell", "#!/bin/sh\necho \"$1\"\npwd\n");
        QFile::setPermissions(tree.path("shell"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const auto launch = [&](Runner &runner) {
            NotedTerminal terminal;
            runner.launch(terminal);
            [&] { QTRY_COMPARE(terminal.launches.size(), 1); }();
            runner.processEnded(terminal);
            return terminal.launches.value(0).arguments;
        };
        auto keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
        Runner::Environment environment{keychain, u"/usr/bin/ssh"_s, u"/"_s, {}};
        for (const QString &folder : {tree.path(odd), tree.path("missing")}) {
            environment.remoteFolder = folder;
            Runner runner(serverAt(u"host.example"_s, u"deploy"_s), environment);
            const QStringList first = launch(runner);
            QCOMPARE(first.mid(0, first.size() - 1), QStringList{u"-t"_s} + launch(runner));
            for (const QString &shell : {u"/bin/sh"_s, u"/bin/bash"_s, u"/usr/bin/fish"_s, u"/usr/bin/tcsh"_s}) {
                if (!QFile::exists(shell))
                    continue;
                QProcess server;
                QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
                variables.insert(u"SHELL"_s, tree.path("shell"));
                server.setProcessEnvironment(variables);
                server.setWorkingDirectory(tree.path("home"));
                server.start(shell, {u"-c"_s, first.last()});
                QVERIFY(server.waitForFinished());
                const QString there = folder == tree.path(odd) ? folder : tree.path("home");
                QCOMPARE(QString::fromUtf8(server.readAllStandardOutput()), u"-l\n"_s + there + u'\n');
            }
        }
        environment.remoteFolder = u"/a\nb"_s;
        Runner runner(serverAt(u"host.example"_s, u"deploy"_s), environment);
        QCOMPARE(launch(runner).last(), u"deploy@host.example"_s);
    }

    void failureToPrepareIsShownAndLeavesNothing()
    {
        TestTree temporary;
        qputenv("TMPDIR", temporary.path().toUtf8());
        auto keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
        const ServerConnection server = serverAt(u"-oProxyCommand=touch x"_s, u"deploy"_s);
        keychain->set(u"secret"_s, server.id, SecretKind::password);
        NotedTerminal terminal;
        Runner runner(server, {keychain, u"/usr/bin/ssh"_s, u"/"_s, {}});
        QSignalSpy failed(&runner, &Runner::failed);
        runner.launch(terminal);
        QTRY_COMPARE(failed.size(), 1);
        QVERIFY2(terminal.shown.startsWith("Failed to start ssh: ") && terminal.shown.contains("ProxyCommand"),
                 terminal.shown);
        QVERIFY(terminal.launches.isEmpty() && !runner.launched());
        QCOMPARE(left(temporary), QStringList());
    }
};

MOORIX_TEST(RunnerTest)

#include "RunnerTest.moc"
