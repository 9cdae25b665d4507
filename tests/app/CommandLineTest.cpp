// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <csignal>

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

    Shell() { run({u"servers"_s, u"import"_s, u"-"_s}, R"({"folders":[],"servers":[]})"); }

    void start(QProcess &process, const QStringList &arguments) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, tree.path("home"));
        environment.insert(u"XDG_DATA_HOME"_s, tree.path("data"));
        environment.insert(u"XDG_CONFIG_HOME"_s, tree.path("config"));
        environment.remove(u"DISPLAY"_s);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(tree.path("work"));
        process.start(QStringLiteral(MOORIX_BINARY), arguments);
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
    void run(const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        start(process, arguments);
        process.write(input);
        finish(process);
    }
    QJsonObject json() const { return QJsonDocument::fromJson(out).object(); }
    TreeSnapshot work() const
    {
        TreeSnapshot all = tree.snapshot();
        all.removeIf([](const TreeSnapshot::iterator &entry) { return !entry.key().startsWith(u"work/"_s); });
        return all;
    }
    QString add(const QStringList &options)
    {
        run(QStringList{u"servers"_s, u"add"_s} + options);
        return QString::fromUtf8(out).trimmed();
    }
};

bool catches(qint64 processId, int signal)
{
    const QByteArray status = contentOf(u"/proc/%1/status"_s.arg(processId));
    const qsizetype caught = status.indexOf("SigCgt:") + 7;
    return (status.mid(caught, 17).trimmed().toULongLong(nullptr, 16) >> (signal - 1)) & 1;
}

} // namespace

class CommandLineTest final : public QObject
{
    Q_OBJECT

private slots:
    void wrongOrImpossibleCommandsSayWhyAndChangeNothing()
    {
        const std::tuple<const char *, int, const char *> rows[] = {
            {"ls", 2, "Usage: moorix ls TARGET"},
            {"ls --bogus a.txt", 2, "bogus"},
            {"ls missing", 1, "Not found: "},
            {"ls nowhere:/etc", 2, "No saved server has the id, the name or the host “nowhere”"},
            {"ls twin:/etc", 2, "“twin” fits 2 servers"},
            {"ls a:b", 2, "written “./a:…”"},
            {"cat d", 1, "is a folder"},
            {"mkdir d", 1, "exists already"},
            {"rm d", 1, "With --recursive it is removed"},
            {"rm twin:", 2, "names no path"},
            {"rm --recursive /", 2, "root folder"},
            {"mv a.txt b.txt", 1, "exists already"},
            {"mv a.txt d/c.txt", 2, "is no name"},
            {"chmod 9x9 a.txt", 2, "is no mode"},
            {"cp a.txt b.txt nofolder", 1, "no folder to copy into"},
            {"cp missing d", 1, "Not found: "},
            {"cp a.txt b.txt", 1, "exists already"},
            {"cp a.txt a.txt", 1, "cannot be copied onto itself"},
            {"cp d d", 1, "a folder cannot go into itself"},
            {"cp a.txt d --conflict maybe", 2, "no answer to conflicts"},
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
            shell.add({u"--host"_s, u"h"_s, u"--name"_s, QString::fromUtf8(name)});
        const TreeSnapshot before = shell.tree.snapshot();
        for (const auto &[command, code, words] : rows) {
            shell.run(QString::fromUtf8(command).split(u' '));
            QVERIFY2(shell.err.contains(QString::fromUtf8(words)), qPrintable(shell.err));
            QVERIFY2(shell.code == code && shell.out.isEmpty(), command);
        }
        QCOMPARE(shell.tree.snapshot(), before);
    }

    void listingIsOneDocumentWithoutHiddenNames()
    {
        Shell shell;
        shell.run({u"ls"_s, u"."_s, u"--json"_s});
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
        shell.run({u"ls"_s, u"--all"_s, u"."_s});
        QVERIFY(shell.out.contains(" .dot\n"));
    }

    void filesAreMadeCopiedRenamedAndRemoved()
    {
        Shell shell;
        const auto succeeds = [&shell](const char *command) {
            shell.run(QString::fromUtf8(command).split(u' '));
            return shell.code == 0 && shell.err.isEmpty();
        };
        QVERIFY(succeeds("mkdir new"));
        QVERIFY(succeeds("cp a.txt ./a:b d new"));
        QVERIFY(succeeds("cp a.txt new/named.txt"));
        QVERIFY(succeeds("mv new/d renamed"));
        QVERIFY(succeeds("chmod 600 new/a.txt"));
        QVERIFY(succeeds("cat new/a.txt new/renamed/inner"));
        QCOMPARE(shell.out, QByteArray("textin"));
        QVERIFY(succeeds("rm ./a:b b.txt"));
        QVERIFY(succeeds("rm --recursive d"));
        QCOMPARE(shell.work(), (TreeSnapshot{{u"work/"_s, ""},
                                             {u"work/.dot"_s, ""},
                                             {u"work/a.txt"_s, "text"},
                                             {u"work/new/"_s, ""},
                                             {u"work/new/a.txt"_s, "text"},
                                             {u"work/new/a:b"_s, "colon"},
                                             {u"work/new/named.txt"_s, "text"},
                                             {u"work/new/renamed/"_s, ""},
                                             {u"work/new/renamed/inner"_s, "in"}}));
        QVERIFY(succeeds("ls --json new/a.txt"));
        const QJsonObject item = shell.json().value(u"items").toArray().first().toObject();
        QCOMPARE(item.value(u"permissions").toString(), u"rw-------"_s);
    }

    void copyThatIsPartlyDoneTellsSoInCodeAndDocument()
    {
        Shell shell;
        shell.tree.write("work/d/a.txt", "kept");
        shell.run({u"cp"_s, u"a.txt"_s, u"b.txt"_s, u"d"_s, u"--json"_s});
        QCOMPARE(shell.code, 3);
        QCOMPARE(shell.json().value(u"files").toInt(), 1);
        QCOMPARE(shell.json().value(u"failures").toArray().size(), 1);
        QCOMPARE(shell.tree.read("work/d/a.txt"), QByteArray("kept"));
        shell.run({u"cp"_s, u"a.txt"_s, u"d"_s, u"--conflict"_s, u"rename"_s});
        QCOMPARE(shell.code, 0);
        QCOMPARE(shell.tree.read("work/d/a 2.txt"), QByteArray("text"));
    }

    void serverRecordSurvivesEditExportRemoveAndImport()
    {
        Shell shell;
        const QString id = shell.add({u"--host"_s, u"web.example.org"_s, u"--name"_s, u"web"_s, u"--protocol"_s,
                                      u"ftps"_s, u"--keep-alive"_s, u"15"_s});
        QCOMPARE(shell.code, 0);
        shell.run({u"servers"_s, u"edit"_s, u"WEB"_s, u"--user"_s, u"deploy"_s, u"--favorite"_s, u"yes"_s, u"--auth"_s,
                   u"key-file"_s, u"--key"_s, u"/keys/id"_s});
        QCOMPARE(shell.code, 0);
        shell.run({u"servers"_s, u"show"_s, u"web.example.org"_s, u"--json"_s});
        const QJsonObject record = shell.json();
        QString facts;
        for (const char *key : {"id", "port", "username", "authMethod", "keepAliveSeconds", "isFavorite", "useTLS"})
            facts += record.value(QLatin1String(key)).toVariant().toString() + u'|';
        QCOMPARE(facts, id + u"|21|deploy|SSH Key (File)|15|true|true|"_s);
        shell.run({u"servers"_s, u"export"_s, u"../library.json"_s});
        shell.run({u"servers"_s, u"remove"_s, id});
        shell.run({u"servers"_s, u"list"_s, u"--json"_s});
        QCOMPARE(shell.json().value(u"servers").toArray().size(), 5);
        shell.run({u"servers"_s, u"import"_s, u"../library.json"_s});
        QCOMPARE(shell.out, QByteArray("1 servers added, 5 replaced.\n"));
        shell.run({u"servers"_s, u"show"_s, id, u"--json"_s});
        QCOMPARE(shell.json(), record);
    }

    void interruptEndsACommandThatWaits()
    {
        Shell shell;
        shell.add({u"--host"_s, u"h"_s, u"--name"_s, u"web"_s});
        QProcess process;
        shell.start(process, {u"secret"_s, u"set"_s, u"web"_s, u"password"_s});
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY(catches(process.processId(), SIGINT));
        ::kill(pid_t(process.processId()), SIGINT);
        QTRY_COMPARE(process.state(), QProcess::NotRunning);
        shell.finish(process);
        QCOMPARE(shell.code, 1);
        QCOMPARE(shell.err, u"Cancelled.\n"_s);
    }

    void everyCommandHasHelpWithExamples()
    {
        Shell shell;
        shell.run({u"--help"_s});
        QList<QByteArray> lines = shell.out.split('\n');
        lines.removeIf([](const QByteArray &line) { return !line.startsWith("  ") || line.startsWith("     "); });
        QVERIFY(lines.size() >= 16);
        for (const QByteArray &line : std::as_const(lines)) {
            const QStringList words = QString::fromUtf8(line.mid(2, 16)).simplified().split(u' ');
            shell.run(words + QStringList{u"--help"_s});
            QVERIFY2(shell.code == 0 && shell.out.contains("Examples:\n  moorix "), line.constData());
        }
    }
};

MOORIX_TEST(CommandLineTest)
#include "CommandLineTest.moc"
