// SPDX-License-Identifier: GPL-3.0-or-later
// The disk of this machine fills up in the middle of a transfer. The transfers run in a program of their own, which
// alone sees the small disk.
#include "support/FTPServer.h"
#include "support/SmallDisk.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "transfers/TransferScene.h"

#include <QProcess>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Skipped unless started by the test below.
class SmallDiskProgram final : public QObject
{
    Q_OBJECT

    enum class From { disk, ssh, ftp };

private slots:
    void init()
    {
        if (!SmallDisk::folder())
            QSKIP("Only a part of FullLocalDiskTest.");
    }

    void oldFileStaysWhole_data()
    {
        QTest::addColumn<From>("from");
        QTest::addColumn<bool>("isFullBefore");
        for (const From from : {From::disk, From::ssh, From::ftp}) {
            for (const bool isFullBefore : {true, false})
                QTest::addRow("from %d, full before: %d", int(from), isFullBefore) << from << isFullBefore;
        }
    }
    void oldFileStaysWhole()
    {
        QFETCH(From, from);
        QFETCH(bool, isFullBefore);
        if (from == From::ftp && !FTPServer::missing(FTPServer::Program::vsftpd).isEmpty())
            QSKIP("The server is not there.");
        const TestTree tree;
        std::unique_ptr<ServerProcess> server;
        std::shared_ptr<FileService> source = std::make_shared<LocalFileService>();
        const auto open = [&](auto process) { source = process->service(), server = std::move(process); };
        if (from == From::ssh)
            open(std::make_unique<TestServer>());
        else if (from == From::ftp)
            open(std::make_unique<FTPServer>(FTPServer::Program::vsftpd, FTPServer::Encryption::none));
        const QString folder = server ? server->sharedPath() : tree.path();
        const QByteArray content(SmallDisk::bytes * 3 / 4, 'x');
        putFile(folder + u"/file"_s, content);
        QCOMPARE(QProcess::execute(u"chmod"_s, {u"-R"_s, u"a+rwX"_s, folder}), 0);
        const QString disk = SmallDisk::folder().value();
        QFile::remove(disk + u"/other"_s);
        putFile(disk + u"/file"_s, "old");
        const auto fillUp = [&] { putFile(disk + u"/other"_s, QByteArray(SmallDisk::bytes / 2, 'o')); };
        if (isFullBefore)
            fillUp();

        const FileItem file = *source->stat(folder + u"/file"_s, {});
        const TransferRequest request{source,
                                      std::make_shared<LocalFileService>(),
                                      {file},
                                      disk,
                                      from != From::ssh,
                                      TransferConflictPolicy::overwrite};
        TransferRun::Callbacks callbacks;
        callbacks.progress = [&, isFull = isFullBefore](const TransferCounts &counts) mutable {
            if (!std::exchange(isFull, isFull || counts.filesTotal > 0))
                fillUp();
        };
        const TransferOutcome outcome = TransferRun(request, callbacks).run({});

        QCOMPARE(outcome.failures.size(), 1);
        const QString why = outcome.failures.first();
        QVERIFY2(why.contains(u"free"_s) || why.contains(u"space"_s) || why.contains(u"full"_s), qPrintable(why));
        QCOMPARE(snapshotOf(disk).keys(), QStringList({u"file"_s, u"other"_s}));
        QCOMPARE(contentOf(disk + u"/file"_s), QByteArray("old"));
        QCOMPARE(contentOf(folder + u"/file"_s), content);
        if (auto *const remote = dynamic_cast<RemoteFileService *>(source.get()))
            remote->disconnect();
    }
};

class FullLocalDiskTest final : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsLost() { SmallDisk::verify("SmallDiskProgram", "from 1, full before: 0", {}); }
};

MOORIX_TEST(SmallDiskProgram)
MOORIX_TEST(FullLocalDiskTest)
#include "FullLocalDiskTest.moc"
