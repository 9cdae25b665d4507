// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"
#include "base/Json.h"
#include "files/LocalFileService.h"
#include "servers/ServerLibrary.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "sync/SyncPairLibrary.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryFile>

#include <csignal>
#include <cstdio>
#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// The program itself, run in a folder with documents of its own.
struct Shell
{
    TestTree tree{{"work/a.txt", "text"}, {"work/b.txt", "other"},
                  {"work/.dot", ""},      {"work/d/inner", "in"},
                  {"work/a:b", "colon"},  {"broken.json", "{\"folders\":[],\"servers\":[{}]}"}};
    int code = -1;
    QByteArray out;
    QString err;

    Shell() { run(u"servers import -"_s, R"({"folders":[],"servers":[]})"); }

    /// The words of the command have single blanks between them.
    void start(QProcess &process, const QString &command) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, tree.path("home"));
        environment.insert(u"XDG_DATA_HOME"_s, tree.path("data"));
        environment.insert(u"XDG_CONFIG_HOME"_s, tree.path("config"));
        environment.remove(u"DISPLAY"_s);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(tree.path("work"));
        process.start(QStringLiteral(MOORIX_BINARY), command.split(u' '));
    }
    void finish(QProcess &process)
    {
        process.closeWriteChannel();
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(20000))
            qFatal("moorix did not end.");
        code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        out = process.readAllStandardOutput();
        err = QString::fromUtf8(process.readAllStandardError());
    }
    void run(const QString &command, const QByteArray &input = {})
    {
        QProcess process;
        start(process, command);
        process.write(input);
        finish(process);
    }
    QJsonObject json() const { return QJsonDocument::fromJson(out).object(); }
};

bool catches(qint64 processId, int signal)
{
    const QByteArray status = contentOf(u"/proc/%1/status"_s.arg(processId));
    const qsizetype caught = status.indexOf("SigCgt:") + 7;
    return (status.mid(caught, 17).trimmed().toULongLong(nullptr, 16) >> (signal - 1)) & 1;
}

/// What `action` writes to a standard stream.
template <class Action>
QByteArray written(FILE *stream, Action action)
{
    QTemporaryFile file;
    file.open();
    std::fflush(stream);
    const int number = ::fileno(stream);
    const int before = ::dup(number);
    ::dup2(file.handle(), number);
    action();
    std::fflush(stream);
    ::dup2(before, number);
    ::close(before);
    file.seek(0);
    return file.readAll();
}

} // namespace

/// The program on files of this machine, and its commands against a real sshd.
class CommandLineTest final : public QObject
{
    Q_OBJECT

    QString remote(const char *path) const { return u"web:"_s + m_server->sharedPath() + QString::fromUtf8(path); }
    int run(const QStringList &arguments)
    {
        int code = -1;
        const auto command = [&] { code = CommandLine::run(QStringList{u"moorix"_s} + arguments, m_platform); };
        m_err = written(stderr, [&] { m_out = written(stdout, command); });
        return code;
    }

    TestTree m_tree{{"site/it's \"a\".txt", "text"}, {"site/.hidden", "dot"}, {"site/deep/b", "more"}};
    std::unique_ptr<TestServer> m_server;
    CommandLine::Platform m_platform;
    ServerConnection m_record;
    QByteArray m_out;
    QByteArray m_err;

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_tree.path("data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_tree.path("config")));
        m_server = std::make_unique<TestServer>();
        ServerConnection record = m_server->connection();
        record.name = u"web"_s;
        ServerLibrary library;
        library.servers = {record};
        m_record = record;
        m_tree.write("data/Moorix/servers.json", library.encode());
        m_platform = {std::make_shared<IsolatedClients>(m_server->knownHostsPath()),
                      std::make_shared<MemoryKeychain>()};
    }

    void cleanupTestCase()
    {
        m_platform = {};
        m_server.reset();
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }

    void wrongOrImpossibleCommandsSayWhyAndChangeNothing()
    {
        const std::tuple<const char *, int, const char *> rows[] = {
            {"ls", 2, "Usage: moorix ls TARGET"},
            {"ls --bogus a.txt", 2, "bogus"},
            {"ls missing", 1, "Not found: "},
            {"--completion csh", 2, "bash|zsh|fish"},
            {"diff a.txt", 2, "Usage: moorix diff TARGET TARGET"},
            {"diff a.txt missing", 1, "Not found: "},
            {"diff a.txt a.txt --ignore-space none", 2, "--ignore-space takes “ends”, “amount” or “all”, not “none”."},
            {"ls nowhere:/etc", 2, "No saved server has the id, the name or the host “nowhere”"},
            {"ls twin:/etc", 2, "“twin” fits 2 servers"},
            {"ls a:b", 2, "written “./a:…”"},
            {"cat d", 1, "is a folder"},
            {"mkdir d", 1, "exists already"},
            {"rm d", 1, "With --recursive it is removed"},
            {"rm twin:", 2, "names no path"},
            {"rm --recursive /", 2, "root folder"},
            {"rm a.txt --recursive d/../", 2, "“d/../” does not name what is to be removed. Nothing was removed."},
            {"rm --recursive twin:.", 2, "Nothing was removed."},
            {"mv a.txt b.txt", 1, "exists already"},
            {"mv a.txt d/c.txt", 2, "is no name"},
            {"chmod 9x9 a.txt", 2, "is no mode"},
            {"cp a.txt b.txt nofolder", 1, "no folder to copy into"},
            {"cp missing d", 1, "Not found: "},
            {"cp a.txt b.txt", 1, "exists already"},
            {"cp a.txt a.txt", 1, "cannot be copied onto itself"},
            {"cp d d", 1, "a folder cannot go into itself"},
            {"cp a.txt d --conflict maybe", 2, "no answer to conflicts"},
            {"cp a.txt d --limit 500", 2, "--limit takes a speed per second from 10K to 1G, such as 500K"},
            {"cp a.txt d --limit 9.9K", 2, "not “9.9K”"},
            {"cp a.txt d --limit=-1M", 2, "not “-1M”"},
            {"cp a.txt d --limit 1.1GB/s", 2, "not “1.1GB/s”"},
            {"servers", 2, "needs one of its commands"},
            {"servers add --name x", 2, "--host"},
            {"servers add --host h --port 70000", 2, "from 1 to 65535"},
            {"servers add --host h --color red", 2, "colour"},
            {"servers add --host h --auth magic", 2, "no way to log in"},
            {"servers add --host h --folder Nowhere", 2, "no folder “Nowhere”"},
            {"servers import ../broken.json", 1, "is missing"},
            {"servers import gone.json", 1, "There is no file"},
            {"servers export a.txt", 1, "With --force"},
            {"secret set web fingerprint", 2, "no kind of secret"},
            {"secret set web password", 2, "held no value"},
        };
        Shell shell;
        for (const char *name : {"twin", "twin", "web"})
            shell.run(u"servers add --host h --name "_s + QLatin1String(name));
        const TreeSnapshot before = shell.tree.snapshot();
        for (const auto &[command, code, words] : rows) {
            shell.run(QString::fromUtf8(command));
            QVERIFY2(shell.err.contains(QString::fromUtf8(words)), qPrintable(shell.err));
            QVERIFY2(shell.code == code && shell.out.isEmpty(), command);
        }
        QCOMPARE(shell.tree.snapshot(), before);
    }

    void namesReachNoTerminalAsCommands()
    {
        Shell shell;
        shell.run(u"ls a\x1b[31m"_s);
        QVERIFY2(shell.err.contains(u"a\\x1B[31m"_s) && !shell.err.contains(u'\x1b'), qPrintable(shell.err));
    }

    void listingIsOneDocumentWithoutHiddenNames()
    {
        Shell shell;
        shell.run(u"ls . --json"_s);
        QStringList names;
        const QJsonArray items = shell.json().value(u"items").toArray();
        for (const QJsonValue &item : items)
            names << item.toObject().value(u"name").toString();
        QCOMPARE(names, (QStringList{u"d"_s, u"a.txt"_s, u"a:b"_s, u"b.txt"_s}));
        const QJsonObject file = items.at(1).toObject();
        QCOMPARE(file.keys(), (QStringList{u"isDirectory"_s, u"isSymlink"_s, u"modified"_s, u"name"_s, u"ownerName"_s,
                                           u"path"_s, u"permissions"_s, u"size"_s}));
        QCOMPARE(file.value(u"size").toInt(), 4);
        QCOMPARE(file.value(u"path").toString(), shell.tree.path("work/a.txt"));
        QVERIFY(file.value(u"ownerName").isNull());
        shell.run(u"ls --all ."_s);
        QVERIFY(shell.out.contains(" .dot\n"));
    }

    void filesAreMadeCopiedRenamedAndRemoved()
    {
        Shell shell;
        const auto succeeds = [&shell](const char *command) {
            shell.run(QString::fromUtf8(command));
            return shell.code == 0 && shell.err.isEmpty();
        };
        QVERIFY(succeeds("mkdir new"));
        QVERIFY(succeeds("cp -r a.txt ./a:b d new"));
        QVERIFY(succeeds("cp a.txt new/named.txt"));
        QVERIFY(succeeds("mv new/d renamed"));
        QVERIFY(succeeds("chmod 600 new/a.txt"));
        QVERIFY(succeeds("cat new/a.txt new/renamed/inner"));
        QCOMPARE(shell.out, QByteArray("textin"));
        QVERIFY(succeeds("rm ./a:b b.txt"));
        QVERIFY(succeeds("rm --recursive d"));
        const TestTree expected{{".dot", ""},         {"a.txt", "text"},         {"new/a.txt", "text"},
                                {"new/a:b", "colon"}, {"new/named.txt", "text"}, {"new/renamed/inner", "in"}};
        QCOMPARE(snapshotOf(shell.tree.path("work")), expected.snapshot());
        QVERIFY(succeeds("ls --json new/a.txt"));
        const QJsonObject item = shell.json().value(u"items").toArray().first().toObject();
        QCOMPARE(item.value(u"permissions").toString(), u"rw-------"_s);
    }

    void copyThatIsPartlyDoneTellsSoInCodeAndDocument()
    {
        Shell shell;
        shell.tree.write("work/d/a.txt", "kept");
        shell.run(u"cp a.txt gone b.txt d --json"_s);
        QCOMPARE(shell.code, 3);
        QCOMPARE(shell.json().value(u"files").toInt(), 1);
        QCOMPARE(shell.json().value(u"failures").toArray().size(), 2);
        QCOMPARE(shell.tree.read("work/d/a.txt"), QByteArray("kept"));
        shell.run(u"cp a.txt d --conflict rename"_s);
        QCOMPARE(shell.code, 0);
        QCOMPARE(shell.tree.read("work/d/a 2.txt"), QByteArray("text"));
        shell.run(u"cp a.txt d --conflict overwrite"_s);
        QCOMPARE(shell.tree.read("work/d/a.txt"), QByteArray("text"));
    }

    void serverRecordSurvivesEditExportRemoveAndImport()
    {
        Shell shell;
        shell.run(u"servers add --host web.example.org --name web --protocol ftps --keep-alive 15"_s);
        const QString id = QString::fromUtf8(shell.out).trimmed();
        QCOMPARE(shell.code, 0);
        shell.run(u"servers edit WEB --user deploy --favorite yes --auth key-file --key /keys/id"_s);
        QCOMPARE(shell.code, 0);
        shell.run(u"servers show web.example.org --json"_s);
        const QJsonObject record = shell.json();
        QString facts;
        for (const char *key : {"id", "port", "username", "authMethod", "keepAliveSeconds", "isFavorite", "useTLS"})
            facts += record.value(QLatin1String(key)).toVariant().toString() + u'|';
        QCOMPARE(facts, id + u"|21|deploy|SSH Key (File)|15|true|true|"_s);
        shell.run(u"servers export ../library.json"_s);
        shell.run(u"servers remove "_s + id);
        shell.run(u"servers list --json"_s);
        QCOMPARE(shell.json().value(u"servers").toArray().size(), 5);
        shell.run(u"servers import ../library.json"_s);
        QCOMPARE(shell.out, QByteArray("1 added, 6 left as they are.\n"));
        shell.run(u"servers show %1 --json"_s.arg(id));
        QCOMPARE(shell.json(), record);
    }

    void interruptEndsACommandThatWaits()
    {
        Shell shell;
        shell.run(u"servers add --host h --name web"_s);
        for (const int signal : {SIGINT, SIGHUP}) {
            QProcess process;
            shell.start(process, u"secret set web password"_s);
            QVERIFY(process.waitForStarted());
            QTRY_VERIFY(catches(process.processId(), SIGHUP));
            ::kill(pid_t(process.processId()), signal);
            QTRY_COMPARE(process.state(), QProcess::NotRunning);
            shell.finish(process);
            QCOMPARE(shell.code, 1);
            QCOMPARE(shell.err, u"Cancelled.\n"_s);
        }
    }

    void everyCommandHasHelpWithExamples()
    {
        Shell shell;
        shell.run(u"--help"_s);
        QList<QByteArray> lines = shell.out.split('\n');
        lines.removeIf([](const QByteArray &line) { return !line.startsWith("  ") || line.startsWith("     "); });
        QVERIFY(lines.size() >= 16);
        for (const QByteArray &line : std::as_const(lines)) {
            shell.run(QString::fromUtf8(line.mid(2, 20)).simplified() + u" --help"_s);
            QVERIFY2(shell.code == 0 && shell.out.contains("Examples:\n  moorix "), line.constData());
        }
    }

    void firstContactIsToldOnceOnStandardError()
    {
        QCOMPARE(run({u"ls"_s, remote("")}), 0);
        QVERIFY2(m_err.contains("First contact with 127.0.0.1") && m_err.contains("SHA256:"), m_err.constData());
        QCOMPARE(run({u"ls"_s, remote("")}), 0);
        QCOMPARE(m_err, QByteArray());
    }

    void treeTravelsToTheServerAndBack()
    {
        QCOMPARE(run({u"cp"_s, m_tree.path("site"), remote(""), u"--limit"_s, u"0.9 GB/s"_s}), 0);
        QCOMPARE(run({u"ls"_s, u"--json"_s, remote("/site")}), 0);
        const QJsonValue items = QJsonDocument::fromJson(m_out)[u"items"_s];
        QCOMPARE(items.toArray().size(), 2);
        QCOMPARE(items[1][u"name"_s].toString(), u"it's \"a\".txt"_s);
        QCOMPARE(items[1][u"size"_s].toInt(), 4);
        QCOMPARE(run({u"mv"_s, remote("/site"), u"renamed"_s}), 0);
        QCOMPARE(run({u"chmod"_s, u"640"_s, remote("/renamed/it's \"a\".txt")}), 0);
        QCOMPARE(run({u"cat"_s, remote("/renamed/deep/b")}), 0);
        QCOMPARE(m_out, QByteArray("more"));
        QCOMPARE(run({u"cp"_s, remote("/renamed"), m_tree.path("back")}), 0);
        QCOMPARE(snapshotOf(m_tree.path("back")), snapshotOf(m_tree.path("site")));
        const auto copied = LocalFileService().stat(m_tree.path("back/it's \"a\".txt"), {});
        QCOMPARE(copied->permissions, std::optional(u"rw-r-----"_s));
        QCOMPARE(run({u"cp"_s, remote("/renamed"), remote("/copy")}), 0);
        QCOMPARE(run({u"rm"_s, remote("/renamed")}), 1);
        QCOMPARE(run({u"rm"_s, u"--recursive"_s, remote("/renamed"), remote("/copy")}), 0);
        QCOMPARE(QDir(m_server->sharedPath()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList());
    }

    void patternsOfAServersNamesStandForAllThatFit()
    {
        m_tree.write("many/a.log", "a");
        m_tree.write("many/-rf.log", "dash");
        m_tree.write("many/.hidden.log", "");
        m_tree.write("many/[ab].txt", "itself");
        m_tree.write("many/a.txt", "a");
        m_tree.write("into/", "");
        QCOMPARE(run({u"cp"_s, m_tree.path("many"), remote("")}), 0);
        QCOMPARE(run({u"cp"_s, remote("/many/*.log"), remote("/many/[ab].txt"), m_tree.path("into")}), 0);
        QCOMPARE(snapshotOf(m_tree.path("into")),
                 (TestTree{{"a.log", "a"}, {"-rf.log", "dash"}, {"[ab].txt", "itself"}}).snapshot());
        QCOMPARE(run({u"cp"_s, remote("/many/*.lo?"), m_tree.path("nofolder")}), 1);
        QVERIFY2(m_err.contains("no folder to copy into"), m_err.constData());
        QCOMPARE(run({u"cp"_s, remote("/many/*.zip"), m_tree.path("into")}), 1);
        QVERIFY2(m_err.contains("matches “*.zip”"), m_err.constData());
        QCOMPARE(run({u"rm"_s, u"--recursive"_s, remote("/many")}), 0);
    }

    void syncLeavesOutWhatTheSavedPairDoes()
    {
        m_tree.write("pair/keep.txt", "k");
        m_tree.write("pair/drop.log", "d");
        m_tree.write("pair/other.tmp", "o");
        SyncPairLibrary saved;
        saved.pairs = {
            {newUuid(), {}, m_tree.path("pair"), m_record.id, m_server->sharedPath() + u"/pair/"_s, {u"*.log"_s}}};
        m_tree.write("data/Moorix/sync/pairs.json", saved.encode());
        const QStringList command{u"sync"_s,     m_tree.path("pair"), remote("/pair"),
                                  u"--ignore"_s, u"*.tmp"_s,          u"--json"_s};
        QCOMPARE(run(command), 0);
        QCOMPARE(snapshotOf(m_server->sharedPath() + u"/pair"_s)
                     .keys()
                     .filter(u"."_s)
                     .filter(QRegularExpression(u"^[a-z]"_s)),
                 QStringList{u"keep.txt"_s});
        QCOMPARE(QJsonDocument::fromJson(m_out)[u"leftOut"_s].toArray().size(), 2);
        // Without its patterns more than is wanted would be synced.
        m_tree.write("data/Moorix/sync/pairs.json", "{");
        QCOMPARE(run(command), 1);
        QVERIFY2(m_err.contains("list of folder pairs"), m_err.constData());
        QVERIFY(QDir(m_server->sharedPath() + u"/pair"_s).removeRecursively());
    }

    void filesHereAndThereAreComparedLineByLine()
    {
        QByteArray lines;
        for (int i = 1; i <= 20; ++i)
            lines += QByteArray::number(i) + '\n';
        m_tree.write("diff/here", lines);
        putFile(m_server->sharedPath() + u"/there"_s,
                QByteArray(lines).replace("\n5\n", "\nfive\n").replace("20\n", "20"));
        const QStringList both{u"diff"_s, m_tree.path("diff/here"), remote("/there")};
        QCOMPARE(run(both), 0);
        QCOMPARE(m_out.mid(m_out.indexOf("@@")), "@@ -2,7 +2,7 @@\n 2\n 3\n 4\n-5\n+five\n 6\n 7\n 8\n"
                                                 "@@ -18,4 +18,3 @@\n 18\n 19\n 20\n-\n");
        QCOMPARE(run(both + QStringList{u"--json"_s}), 0);
        const QJsonObject document = QJsonDocument::fromJson(m_out).object();
        QCOMPARE(document[u"added"_s].toInt(), 1);
        QCOMPARE(document[u"removed"_s].toInt(), 2);
        const QJsonArray rows = document[u"rows"_s].toArray();
        QCOMPARE(rows.at(4).toObject(),
                 (QJsonObject{{u"op"_s, u"delete"_s}, {u"left"_s, u"5"_s}, {u"right"_s, QJsonValue()}}));
        QCOMPARE(rows.at(5)[u"op"_s].toString(), u"insert"_s);
        QCOMPARE(rows.size(), 22);
        m_tree.write("diff/here", "One  two\n");
        putFile(m_server->sharedPath() + u"/there"_s, "one two\r\n");
        QCOMPARE(run(both + QStringList{u"--ignore-case"_s, u"--ignore-space"_s, u"amount"_s}), 0);
        QVERIFY(m_out.isEmpty());
        QCOMPARE(run(both + QStringList{u"--ignore-space"_s, u"all"_s}), 0);
        QVERIFY(m_out.endsWith("-One  two\n+one two\r\n \n"));
    }

    void stoppedServerIsSaidInWords()
    {
        m_server->kill();
        QCOMPARE(run({u"ls"_s, remote("")}), 1);
        QVERIFY2(m_err.startsWith("Could not connect: "), m_err.constData());
    }
};

MOORIX_TEST(CommandLineTest)
#include "CommandLineTest.moc"
