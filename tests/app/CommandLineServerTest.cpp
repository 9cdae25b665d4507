// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"
#include "files/LocalFileService.h"
#include "servers/ServerLibrary.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "support/TestTree.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

#include <cstdio>

#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

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

/// Commands against a real sshd.
class CommandLineServerTest final : public QObject
{
    Q_OBJECT

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

    void firstContactIsToldOnceOnStandardError()
    {
        QCOMPARE(run({u"ls"_s, remote("")}), 0);
        QVERIFY2(m_err.contains("First contact with 127.0.0.1") && m_err.contains("SHA256:"), m_err.constData());
        QCOMPARE(run({u"ls"_s, remote("")}), 0);
        QCOMPARE(m_err, QByteArray());
    }

    void treeTravelsToTheServerAndBack()
    {
        QCOMPARE(run({u"cp"_s, m_tree.path("site"), remote("")}), 0);
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

    void existingRemoteFilesAreNotReplacedUnasked()
    {
        QCOMPARE(run({u"cp"_s, m_tree.path("site/deep/b"), remote("/b")}), 0);
        QCOMPARE(run({u"cp"_s, m_tree.path("site/.hidden"), remote("/b")}), 1);
        QVERIFY(m_err.contains("exists already"));
        QCOMPARE(run({u"mkdir"_s, remote("/b")}), 1);
        QCOMPARE(contentOf(m_server->sharedPath() + u"/b"_s), "more");
        QCOMPARE(run({u"cp"_s, m_tree.path("site/.hidden"), remote("/b"), u"--conflict"_s, u"overwrite"_s}), 0);
        QCOMPARE(contentOf(m_server->sharedPath() + u"/b"_s), "dot");
        QCOMPARE(run({u"rm"_s, remote("/b")}), 0);
    }

    void stoppedServerIsSaidInWords()
    {
        m_server->kill();
        QCOMPARE(run({u"ls"_s, remote("")}), 1);
        QVERIFY2(m_err.startsWith("Could not connect: "), m_err.constData());
    }

private:
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
    QByteArray m_out;
    QByteArray m_err;
};

MOORIX_TEST(CommandLineServerTest)
#include "CommandLineServerTest.moc"
