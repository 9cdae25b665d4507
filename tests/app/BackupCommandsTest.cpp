// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"
#include "backup/BackupJob.h"
#include "platform/SystemProcessRunner.h"
#include "servers/ServerLibrary.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryFile>

#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// The commands for backups, on folders of this machine.
class BackupCommandsTest final : public QObject
{
    Q_OBJECT

    TestTree m_tree;
    CommandLine::Platform m_platform;

    /// The words have single blanks between them; "%" stands for the tree.
    int run(const QString &command, const QByteArray &input = {})
    {
        QTemporaryFile file;
        file.open();
        file.write(input);
        file.seek(0);
        const int before = ::dup(STDIN_FILENO);
        ::dup2(file.handle(), STDIN_FILENO);
        QString words = u"moorix backup "_s + command;
        const int code = CommandLine::run(words.replace(u'%', m_tree.path()).split(u' '), m_platform);
        ::dup2(before, STDIN_FILENO);
        ::close(before);
        return code;
    }
    QList<BackupJob> jobs() const { return BackupLibrary::decode(m_tree.read("data/Moorix/backups.json")).jobs; }
    QStringList archives() const { return QDir(m_tree.path("to")).entryList(QDir::Files); }

private slots:
    void initTestCase()
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_tree.path("data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_tree.path("config")));
        m_platform = {std::make_shared<SystemProcessRunner>(), std::make_shared<MemoryKeychain>()};
        m_tree.write("data/Moorix/servers.json", ServerLibrary::empty().encode());
        m_tree.write("site/a", "text");
        m_tree.write("to/", {});
        m_tree.write("out/", {});
    }

    void cleanupTestCase()
    {
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }

    void whatCannotBeMeantIsRefusedAndNothingIsSaved()
    {
        for (const char *command :
             {"add --name x --source %/site", "add --name x --to %/to", "add --name x --source %/site --to web:/x",
              "add --name x --source %/site --to %/to --at 25:00", "add --name x --source %/site --to %/to --day 32",
              "add --name x --source %/site --to %/to --every hour", "add --name x --source %/site --to %/site/in",
              "add --name x --source %/site --to %/to --encrypt", "run x", "remove x", "verify",
              "restore %/x %/out --conflict ask"})
            QCOMPARE(std::pair(command, run(QString::fromLatin1(command))), std::pair(command, 2));
        QVERIFY(!m_tree.exists("data/Moorix/backups.json"));
    }

    void aBackupIsAddedRunCheckedRestoredAndRemoved()
    {
        QCOMPARE(run(u"add --name Web --source %/site --to %/to --encrypt --every weekly --day friday --at 18:30 "
                     "--keep 3"_s,
                     "phrase\n"),
                 0);
        const BackupJob job = jobs().constFirst();
        QVERIFY(job.dayOfWeek == 5 && job.hour == 18 && job.minute == 30 && job.keepVersions == 3 && job.encrypt);
        QCOMPARE(run(u"add --name Web --source %/site --to %/to"_s), 2);
        QCOMPARE(run(u"run web"_s), 0);
        QVERIFY(jobs().constFirst().lastSuccess);
        QCOMPARE(archives().size(), 1);
        const QString archive = u"%/to/"_s + archives().constFirst();

        QCOMPARE(run(u"verify "_s + archive, "phrase\n"), 0);
        QCOMPARE(run(u"verify --job Web "_s + archive), 0);
        QCOMPARE(run(u"verify "_s + archive, "wrong"), 1);
        QCOMPARE(run(u"decrypt %1 %/out.zip"_s.replace(u"%1"_s, archive), "wrong"), 1);
        QVERIFY(!m_tree.exists("out.zip"));
        QCOMPARE(run(u"decrypt %1 %/out.zip"_s.replace(u"%1"_s, archive), "phrase"), 0);
        QCOMPARE(run(u"decrypt %1 %/out.zip"_s.replace(u"%1"_s, archive), "phrase"), 1);
        QCOMPARE(run(u"restore %/out.zip %/out "_s + m_tree.path("site/a").mid(1)), 0);
        QCOMPARE(snapshotOf(m_tree.path("out")), TreeSnapshot({{u"a"_s, "text"}}));

        QCOMPARE(run(u"edit Web --scheduled no --name Site"_s), 0);
        QVERIFY(!jobs().constFirst().enabled && jobs().constFirst().lastSuccess);
        QCOMPARE(run(u"remove Site"_s), 0);
        QVERIFY(jobs().isEmpty() && archives().size() == 1);
        QCOMPARE(std::dynamic_pointer_cast<MemoryKeychain>(m_platform.keychain)->count(), 0);
    }
};

MOORIX_TEST(BackupCommandsTest)
#include "BackupCommandsTest.moc"
