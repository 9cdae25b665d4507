// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/BackupRun.h"
#include "backup/ArchiveExtraction.h"
#include "backup/BackupArchive.h"
#include "base/Json.h"
#include "platform/SystemProcessRunner.h"
#include "servers/KeychainStore.h"
#include "support/FTPServer.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>

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
            if (onStep)
                onStep(progress.text);
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
    std::function<void(const QString &)> onStep;
};

/// Ends as the tool does when it could not read everything.
class BrokenZip final : public ProcessRunner
{
public:
    ProcessResult run(const ProcessRequest &, const std::stop_token &) override
    {
        return {18, false, {}, "zip warning: x\n"};
    }
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
        // What a run that was killed has left behind, and another job's.
        const QString part = u"to/.Web_site-20240103-000000.zip.enc.moorix-%1.part"_s;
        const QString others = part.arg(uuidText(QUuid::createUuid()));
        scene.tree.write(part.arg(uuidText(scene.surroundings.transferID)), "half");
        scene.tree.write(others, "half");
        for (const char *old : {"to/Web_site-20240101-000000.zip", "to/Web_site-20240102-000000.zip.enc",
                                "to/Web_site-old-20240101-000000.zip"})
            scene.tree.write(old, "old");

        const BackupOutcome outcome = scene.run();
        QCOMPARE(outcome.status(), u"Completed"_s);
        const QStringList steps{u"Starting “Web site”…"_s, u"Compressing…"_s, u"Verifying…"_s,
                                u"Encrypting…"_s,          u"Verifying…"_s,   u"Uploading to web-01…"_s};
        QCOMPARE(scene.steps, steps);
        QCOMPARE(outcome.archive, u"Web_site-20250307-140509.zip.enc"_s);
        QCOMPARE(scene.delivered(), QStringList({others.mid(3), u"Web_site-20240102-000000.zip.enc"_s, outcome.archive,
                                                 u"Web_site-old-20240101-000000.zip"_s}));
        QCOMPARE(scene.leftovers(), QStringList(others.mid(3)));

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

    void archivesGoToAnFTPServer()
    {
        if (const QString missing = FTPServer::missing(FTPServer::Program::vsftpd); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        FTPServer server(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
        const auto service = server.service();
        const QString folder = server.sharedPath();
        const QString part = u"/.Web_site-20240103-000000.zip.moorix-%1.part"_s;
        for (const bool makesArchive : {true, false}) {
            Scene scene;
            scene.job.zip = makesArchive;
            scene.job.keepVersions = 1;
            scene.job.destinationPath = folder;
            scene.job.destinationServerID = QUuid::createUuid();
            scene.surroundings.serverName = u"nas"_s;
            scene.environment.openServer = [&](const QUuid &, const std::stop_token &) { return service; };
            for (const QString &name : {part.arg(uuidText(scene.surroundings.transferID)),
                                        u"/Web_site-20240101-000000.zip"_s, u"/Web_site-20240102-000000/x"_s}) {
                QVERIFY(QDir().mkpath((folder + name).section(u'/', 0, -2)));
                putFile(folder + name, "old");
            }
            QCOMPARE(QProcess::execute(u"chmod"_s, {u"-R"_s, u"a+rwX"_s, folder}), 0);
            const BackupOutcome outcome = scene.run();
            QCOMPARE(outcome.status(), u"Completed"_s);
            QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                     QStringList(outcome.archive));
            QCOMPARE(scene.leftovers(), QStringList());
            const QString path = folder + u'/' + outcome.archive;
            if (!makesArchive) {
                QCOMPARE(snapshotOf(path + u"/site"_s), snapshotOf(scene.tree.path("site")));
                continue;
            }
            BackupArchive::fetch(*service, path, {}, {}, neverStops)->verify({}, neverStops);
            QVERIFY(QFile::resize(path, 200));
            const QString problem = messageOf([&] { BackupArchive::fetch(*service, path, {}, {}, neverStops); });
            QVERIFY2(problem.startsWith(u"“%1” cannot be read as a zip archive"_s.arg(path)), qPrintable(problem));
            QVERIFY(QFile::remove(path));
        }
        service->disconnect();
    }

    void whatCannotRunSaysWhyAndWritesNothing_data()
    {
        QTest::addColumn<std::function<void(Scene &)>>("change");
        QTest::addColumn<QString>("text");
        const auto row = [](const QString &text, const std::function<void(Scene &)> &change) {
            QTest::newRow(text.toUtf8().constData()) << change << text;
        };
        row(u"No sources configured"_s, [](Scene &scene) { scene.job.sourcePaths.clear(); });
        row(u"No destination set"_s, [](Scene &scene) { scene.job.destinationPath.clear(); });
        row(u"Backup server not found"_s, [](Scene &scene) { scene.job.destinationServerID = QUuid::createUuid(); });
        row(u"Encryption passphrase unavailable — backup not run"_s, [](Scene &scene) { scene.job.encrypt = true; });
        row(u"is not there."_s, [](Scene &scene) { scene.job.destinationPath += u"/none"_s; });
        row(u"The source “-T” is no absolute path."_s, [](Scene &scene) { scene.job.sourcePaths = {u"-T"_s}; });
        row(u"/gone” cannot be backed up: No such file or directory"_s,
            [](Scene &scene) { scene.job.sourcePaths.append(scene.tree.path("gone")); });
        row(u"/site/deep/loop” is a link back to a folder above it"_s,
            [](Scene &scene) { scene.tree.link("site/deep/loop", ".."); });
        row(u"holds the temporary folder"_s, [](Scene &scene) { scene.job.sourcePaths = {scene.tree.path()}; });
    }

    void whatCannotRunSaysWhyAndWritesNothing()
    {
        QFETCH(const std::function<void(Scene &)>, change);
        QFETCH(const QString, text);
        Scene scene;
        change(scene);
        const BackupOutcome outcome = scene.run();
        QVERIFY2(outcome.failure.contains(text), qPrintable(outcome.failure));
        QVERIFY(outcome.archive.isEmpty() && scene.delivered().isEmpty() && scene.leftovers().isEmpty());
    }

    void theZipToolsOwnWordsAreTold()
    {
        Scene scene;
        scene.environment.processes = std::make_shared<BrokenZip>();
        scene.tree.write("to/Web_site-20240101-000000.zip", "old");
        scene.job.keepVersions = 1;
        QCOMPARE(scene.run().status(), u"zip failed: zip warning: x\nSome files could not be read."_s);
        QCOMPARE(scene.delivered().size(), 1);
    }

    void aStopAtAnyStepLeavesTheOldArchivesAndNothingElse()
    {
        for (const QString &step : {u"Compressing…"_s, u"Verifying…"_s, u"Encrypting…"_s, u"Copying…"_s}) {
            Scene scene;
            scene.job.encrypt = true;
            scene.job.keepVersions = 1;
            scene.keychain->rememberForThisRun(u"p"_s, scene.job.id, SecretKind::passphrase);
            scene.tree.write("to/Web_site-20240101-000000.zip", "old");
            std::stop_source source;
            scene.onStep = [&](const QString &text) {
                if (text == step)
                    source.request_stop();
            };
            const BackupOutcome outcome = scene.run(source.get_token());
            QVERIFY2(outcome.wasCancelled && outcome.status() == u"Cancelled", qPrintable(step + outcome.failure));
            QCOMPARE(scene.delivered(), QStringList(u"Web_site-20240101-000000.zip"_s));
            QCOMPARE(scene.leftovers(), QStringList());
        }
    }

    void withoutZipEachRunMakesAFolderOfCopies()
    {
        Scene scene;
        scene.job.zip = false;
        scene.job.keepVersions = 1;
        scene.tree.link("site/link", "empty");
        scene.tree.write("other/site", "of the same name");
        scene.tree.link("linked", "other");
        scene.job.sourcePaths += {scene.tree.path("other/site"), scene.tree.path("linked")};
        scene.tree.write("to/Web_site-20240101-000000/x", "old");
        scene.tree.write("to/Web_site-20240101-000000.zip/x", "no archive: a folder of that name");
        const BackupOutcome outcome = scene.run();
        QCOMPARE(outcome.status(), u"Completed"_s);
        QCOMPARE(scene.delivered(), QStringList({u"Web_site-20240101-000000.zip"_s, u"Web_site-20250307-140509"_s}));
        TreeSnapshot copied = snapshotOf(scene.tree.path("to/Web_site-20250307-140509"));
        QCOMPARE(copied.take(u"site 2"_s), QByteArray("of the same name"));
        QCOMPARE(copied.take(u"linked/site"_s), QByteArray("of the same name"));
        copied.remove(u"linked/"_s);
        QCOMPARE(copied.keys().filter(u"site/"_s).size(), copied.size());
        QCOMPARE(copied.value(u"site/deep/b"_s), QByteArray("more"));
    }

    void jobsThatClashRemoveNothingAndNothingIsReplaced()
    {
        Scene scene;
        BackupJob other = scene.job;
        other.id = QUuid::createUuid();
        other.name = u"Web_site"_s;
        scene.surroundings.allJobs = {scene.job, other};
        scene.job.keepVersions = 1;
        scene.tree.write("to/Web_site-20240101-000000.zip", "old");
        const BackupOutcome outcome = scene.run();
        QVERIFY(outcome.succeeded() && outcome.notes.last().startsWith(u"No older archive was removed"_s));
        QCOMPARE(scene.delivered().size(), 2);
        const QByteArray first = scene.tree.read("to/Web_site-20250307-140509.zip");
        scene.tree.write("site/new", "changed");
        QVERIFY(scene.run().failure.contains(u"An archive of this name is in"_s));
        QVERIFY(scene.tree.read("to/Web_site-20250307-140509.zip") == first);
    }
};

MOORIX_TEST(BackupRunTest)
#include "BackupRunTest.moc"
