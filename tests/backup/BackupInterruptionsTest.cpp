// SPDX-License-Identifier: GPL-3.0-or-later
// Runs killed at random moments. They happen in a program of their own.
#include "backup/BackupArchive.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupLedger.h"
#include "backup/BackupStaging.h"
#include "backup/BackupStore.h"
#include "platform/KeyValueStore.h"
#include "platform/SystemProcessRunner.h"
#include "servers/KeychainStore.h"
#include "support/MemoryKeychain.h"
#include "support/ServerProcess.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>

#include <csignal>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const QUuid jobID(u"5a1f8c3e-77b2-4c7e-9d59-0d2f6f0d3a11"_s);
const QString passphrase = u"phrase"_s;

} // namespace

/// The other program: runs the job of the scene once.
class BackupProgram final : public QObject
{
    Q_OBJECT

private slots:
    void runsTheJobOnce()
    {
        const QString folder = qEnvironmentVariable("SCENE_FOLDER");
        if (folder.isEmpty())
            QSKIP("Only a part of BackupInterruptionsTest.");
        BackupStaging::removeDead();
        KeyValueStore cloud{QString()};
        BackupStore store({folder + u"/data/backups.json"_s}, cloud);
        BackupHistoryStore history(folder + u"/data/backup-runs.json"_s);
        BackupLedger ledger(store, history, {folder + u"/data/lock"_s, [](const QUuid &) { return u"web"_s; }});
        const auto keychain = std::make_shared<KeychainStore>(std::make_shared<MemoryKeychain>());
        keychain->rememberForThisRun(passphrase, jobID, SecretKind::passphrase);
        const BackupLedger::Begun begun = ledger.begin(jobID);
        const auto openServer = [](const QUuid &, const std::stop_token &stop) {
            ServerConnection record = serverAt(u"127.0.0.1"_s, qEnvironmentVariable("SCENE_USER"),
                                               qEnvironmentVariableIntValue("SCENE_PORT"));
            record.id = jobID;
            record.authMethod = AuthMethod::privateKeyFile;
            record.privateKeyPath = qEnvironmentVariable("SCENE_KEY");
            const auto clients = std::make_shared<IsolatedClients>(qEnvironmentVariable("SCENE_HOSTS"));
            auto service = std::make_shared<SFTPService>(record, ConnectionCredentials(), clients);
            service->connect(stop);
            return service;
        };
        BackupRun run(begun.job, {std::make_shared<SystemProcessRunner>(), keychain, openServer}, begun.surroundings,
                      {});
        const QDateTime start(QDate(2025, 1, 1), QTime(12, 0));
        const BackupOutcome outcome = run.run(start.addSecs(qEnvironmentVariableIntValue("SCENE_NUMBER")), {});
        ledger.end(jobID, outcome);
        QCOMPARE(outcome.status(), u"Completed"_s);
    }
};

/// Whenever the program or its zip is killed, each archive under a real name is whole, as many as are to be kept stay,
/// and the next run leaves nothing of the killed one.
class BackupInterruptionsTest final : public QObject
{
    Q_OBJECT

    static constexpr int m_kept = 2;
    static constexpr int m_usualMilliseconds = 250;
    static constexpr int m_usualToServer = 800;

    TestTree m_tree{{"tmp/", ""}, {"to/", ""}};
    QString m_to = m_tree.path("to");
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    QByteArray m_output;

    QStringList archives() const { return QDir(m_to).entryList(QDir::Files | QDir::Hidden); }

    /// Returns whether the program came to its end.
    bool runOnce(int number, int killAfter, bool killsZip)
    {
        QProcessEnvironment environment = m_environment;
        environment.insert(u"SCENE_FOLDER"_s, m_tree.path());
        environment.insert(u"SCENE_NUMBER"_s, QString::number(number));
        environment.insert(u"TMPDIR"_s, m_tree.path("tmp"));
        QProcess program;
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QCoreApplication::applicationFilePath(), {u"BackupProgram"_s});
        program.waitForStarted();
        if (killAfter >= 0 && !program.waitForFinished(killAfter)) {
            const QList<qint64> victims = killsZip ? childrenNamed("zip") : QList{program.processId()};
            for (const qint64 victim : victims)
                ::kill(pid_t(victim), SIGKILL);
        }
        program.waitForFinished();
        m_output = program.readAll();
        return program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
    }

    void checkArchives(qsizetype least) const
    {
        qsizetype whole = 0;
        for (const QString &name : archives()) {
            if (name.startsWith(u'.'))
                continue;
            const QString path = m_to + u'/' + name;
            const QString problem =
                messageOf([&] { BackupArchive::open(path, passphrase, {}, neverStops)->verify({}, neverStops); });
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
            ++whole;
        }
        QVERIFY2(whole >= least, qPrintable(archives().join(u' ')));
    }

private slots:
    void noGoodArchiveIsLostAtAnyMoment_data()
    {
        QTest::addColumn<bool>("isOnServer");
        QTest::newRow("disk") << false;
        QTest::newRow("server") << true;
    }

    void noGoodArchiveIsLostAtAnyMoment()
    {
        QFETCH(const bool, isOnServer);
        std::unique_ptr<TestServer> server;
        if (isOnServer) {
            server = std::make_unique<TestServer>();
            const ServerConnection record = server->connection();
            m_environment.insert(u"SCENE_USER"_s, record.username);
            m_environment.insert(u"SCENE_PORT"_s, QString::number(record.port));
            m_environment.insert(u"SCENE_KEY"_s, server->keyPath());
            m_environment.insert(u"SCENE_HOSTS"_s, server->knownHostsPath());
            m_to = server->sharedPath();
        }
        const int moments = qEnvironmentVariable("MOORIX_MOMENTS", u"8"_s).toInt();
        const QString anySeed = QString::number(QRandomGenerator::global()->generate());
        const uint seed = qEnvironmentVariable("MOORIX_SEED", anySeed).toUInt();
        qInfo("MOORIX_SEED=%u MOORIX_MOMENTS=%d", seed, moments);
        QRandomGenerator random(seed);
        for (int file = 0; file < 40; ++file) {
            QByteArray content(160'000, Qt::Uninitialized);
            random.generate(reinterpret_cast<quint32 *>(content.data()),
                            reinterpret_cast<quint32 *>(content.data() + content.size()));
            m_tree.write(u"site/%1"_s.arg(file), content);
        }
        BackupJob job;
        job.id = jobID;
        job.sourcePaths = {m_tree.path("site")};
        job.destinationPath = m_to;
        if (isOnServer)
            job.destinationServerID = QUuid::createUuid();
        job.encrypt = true;
        job.keepVersions = m_kept;
        m_tree.write("data/backups.json", BackupLibrary{{job}, {}}.encode());
        int number = 0;
        for (; number < m_kept; ++number)
            QVERIFY2(runOnce(number, -1, false), m_output.constData());
        int killed = 0;
        for (int moment = 0; moment < moments; ++moment) {
            const int delay = random.bounded(isOnServer ? m_usualToServer : m_usualMilliseconds);
            killed += !runOnce(number++, delay, random.bounded(4) == 0);
            checkArchives(m_kept);
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(u"moment %1, after %2 ms"_s.arg(moment).arg(delay)));
        }
        qInfo("killed: %d", killed);
        QVERIFY2(runOnce(number, -1, false), m_output.constData());
        checkArchives(m_kept);
        QVERIFY2(archives().size() == m_kept, qPrintable(archives().join(u' ')));
        // Connections to a server, and what tells of their login, outlive the program for a while.
        QStringList left = QDir(m_tree.path("tmp")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        left.removeIf([&](const QString &name) {
            return isOnServer && (name.startsWith(u"moorix-ssh-"_s) || name.startsWith(u"moorix-login-"_s));
        });
        QVERIFY2(left.isEmpty(), qPrintable(left.join(u' ')));
        QVERIFY(BackupHistory::decode(m_tree.read("data/backup-runs.json")).jobs.constFirst().lastGoodRun);
    }
};

MOORIX_TEST(BackupProgram)
MOORIX_TEST(BackupInterruptionsTest)
#include "BackupInterruptionsTest.moc"
