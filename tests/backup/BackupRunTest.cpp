// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupRun.h"
#include "backup/ArchiveExtraction.h"
#include "backup/BackupArchive.h"
#include "platform/SystemProcessRunner.h"
#include "servers/KeychainStore.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QDateTime start(QDate(2025, 3, 7), QTime(14, 5, 9));

/// A job with its sources and its destination in one tree.
struct Scene
{
    explicit Scene(const QString &folder = QDir::tempPath())
        : tree(folder)
    {
        tree.write("site/it's \"a\" $(x).txt", QByteArray(100'000, 'x') + "end");
        tree.write("site/empty", {});
        tree.write("site/deep/b", "more");
        tree.write("to/", {});
        tree.write("tmp/", {});
        qputenv("TMPDIR", QFile::encodeName(tree.path("tmp")));
        job.name = u"Web site"_s;
        job.sourcePaths = {tree.path("site")};
        job.destinationPath = tree.path("to");
        environment.processes = std::make_shared<SystemProcessRunner>();
        environment.keychain = keychain;
        surroundings.transferID = QUuid::createUuid();
    }
    ~Scene() { qunsetenv("TMPDIR"); }

    BackupOutcome run(const std::stop_token &stop = {})
    {
        steps.clear();
        BackupRun run(job, environment, surroundings, [this](const BackupProgress &progress) {
            if (steps.isEmpty() || steps.last() != progress.text)
                steps.append(progress.text);
        });
        return run.run(start, stop);
    }
    QStringList delivered() const
    {
        return QDir(tree.path("to")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    /// Staging folders and part files.
    QStringList leftovers() const
    {
        return QDir(tree.path("tmp"))
                   .entryList({u"moorix-backup*"_s}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) +
               delivered().filter(u".part"_s);
    }

    TestTree tree;
    BackupJob job;
    std::shared_ptr<KeychainStore> keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
    BackupRun::Environment environment;
    BackupRun::Surroundings surroundings;
    QStringList steps;
};

} // namespace

/// Whole runs: what they leave at the destination, what they say, and what they leave alone.
class BackupRunTest final : public QObject
{
    Q_OBJECT

private slots:
    void anEncryptedArchiveGoesToAServerAndComesBack()
    {
        TestServer server;
        Scene scene(server.sharedPath());
        scene.job.encrypt = true;
        scene.job.keepVersions = 2;
        scene.job.destinationServerID = QUuid::createUuid();
        scene.surroundings.serverName = u"web-01"_s;
        scene.environment.openServer = [&server](const QUuid &, const std::stop_token &) { return server.service(); };
        scene.keychain->rememberForThisRun(u"pass «phrase»"_s, scene.job.id, SecretKind::passphrase);
        for (const char *old : {"to/Web_site-20240101-000000.zip", "to/Web_site-20240102-000000.zip.enc",
                                "to/Web_site-old-20240101-000000.zip"})
            scene.tree.write(old, "old");

        const BackupOutcome outcome = scene.run();
        QCOMPARE(outcome.status(), u"Completed"_s);
        const QStringList steps{u"Starting “Web site”…"_s, u"Compressing…"_s, u"Verifying…"_s,
                                u"Encrypting…"_s,          u"Verifying…"_s,   u"Uploading to web-01…"_s};
        QCOMPARE(scene.steps, steps);
        QCOMPARE(outcome.archive, u"Web_site-20250307-140509.zip.enc"_s);
        QCOMPARE(scene.delivered(), QStringList({u"Web_site-20240102-000000.zip.enc"_s, outcome.archive,
                                                 u"Web_site-old-20240101-000000.zip"_s}));
        QCOMPARE(scene.leftovers(), QStringList());

        const QString path = scene.tree.path(u"to/"_s + outcome.archive);
        const auto service = server.service();
        const auto archive = BackupArchive::fetch(*service, path, u"pass «phrase»"_s, {}, neverStops);
        QVERIFY(archive->verify({}, neverStops).startsWith(u"The passphrase fits"_s));
        const TestTree restored;
        ArchiveExtraction extraction(archive->content(), restored.path(), {});
        const RestoreOutcome result = extraction.run({scene.tree.path("site").mid(1)}, neverStops);
        QCOMPARE(result.failures, QStringList());
        QCOMPARE(snapshotOf(restored.path("site")), snapshotOf(scene.tree.path("site")));
        service->disconnect();
    }
};

MOORIX_TEST(BackupRunTest)
#include "BackupRunTest.moc"
