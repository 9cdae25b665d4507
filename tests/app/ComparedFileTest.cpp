// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ComparedFile.h"

#include "files/LocalFileService.h"
#include "remote/SFTPService.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QFile>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using comparedFile::Guard;
using comparedFile::Outcome;

/// Saving to this machine and to a real server.
class ComparedFileTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestServer> m_sshd;
    TestTree m_tree;

    std::shared_ptr<FileService> service(bool isRemote) const
    {
        return isRemote ? std::shared_ptr<FileService>(m_sshd->service()) : std::make_shared<LocalFileService>();
    }
    QString folder(bool isRemote) const { return isRemote ? m_sshd->sharedPath() : m_tree.path("here"); }
    comparedFile::Saving saving(const std::shared_ptr<FileService> &service, const QString &path) const
    {
        comparedFile::Saving saving;
        saving.service = service;
        saving.file = *service->stat(path, {});
        saving.before = u"old\r\n"_s;
        saving.after = u"new\r\n"_s;
        saving.root = m_tree.path("edited");
        return saving;
    }
    /// What a save leaves behind in the folder of the file, and on its way there.
    QStringList left(const QString &folder) const
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name) +
               QDir(m_tree.path("edited")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

private slots:
    void initTestCase() { m_sshd = std::make_unique<TestServer>(); }
    void init() { m_tree.write("here/", {}); }
    void cleanup()
    {
        for (const bool isRemote : {false, true}) {
            const QDir dir(folder(isRemote));
            for (const QString &name : dir.entryList(QDir::Files | QDir::Hidden))
                QFile::remove(dir.filePath(name));
        }
    }
    void cleanupTestCase() { m_sshd.reset(); }

    void fileIsReplacedWholeWithItsModeAndThroughItsLink()
    {
        for (const bool isRemote : {false, true}) {
            const auto place = service(isRemote);
            const QString file = folder(isRemote) + u"/file"_s;
            const QString link = folder(isRemote) + u"/link"_s;
            putFile(file, "old\r\n");
            QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
            QVERIFY(QFile::link(file, link));
            QCOMPARE(comparedFile::save(saving(place, link), neverStops), Outcome::sent);
            QCOMPARE(contentOf(file), "new\r\n");
            QCOMPARE(QFile::symLinkTarget(link), file);
            QVERIFY(QFile::permissions(file).testFlag(QFile::ExeOwner));
            QVERIFY(!QFile::permissions(file).testFlag(QFile::ReadOther));
            QCOMPARE(left(folder(isRemote)), (QStringList{u"file"_s, u"link"_s}));
            // Once more: it is there already.
            QCOMPARE(comparedFile::save(saving(place, file), neverStops), Outcome::sent);
        }
    }

    void whatSomebodyElseHasWrittenStaysUntilTheUserSaysSo()
    {
        for (const bool isRemote : {false, true}) {
            const auto place = service(isRemote);
            const QString file = folder(isRemote) + u"/file"_s;
            putFile(file, "old\r\n");
            comparedFile::Saving wanted = saving(place, file);
            // Of the same size, and written within the same second.
            putFile(file, "OLD\r\n");
            QCOMPARE(comparedFile::save(wanted, neverStops), Outcome::changedThere);
            QCOMPARE(contentOf(file), "OLD\r\n");
            QFile::remove(file);
            QCOMPARE(comparedFile::save(wanted, neverStops), Outcome::goneThere);
            QCOMPARE(QDir(folder(isRemote)).entryList(QDir::Files | QDir::Hidden), QStringList());
            wanted.guard = Guard::anything;
            QCOMPARE(comparedFile::save(wanted, neverStops), Outcome::sent);
            putFile(file, "OLD\r\n");
            QCOMPARE(comparedFile::save(wanted, neverStops), Outcome::sent);
            QCOMPARE(contentOf(file), "new\r\n");
            QCOMPARE(left(folder(isRemote)), QStringList{u"file"_s});
        }
    }

    void failureLeavesTheOldFileAndNothingElse()
    {
        if (!TestServer::hasAccounts())
            QSKIP("Only root can log in as another user.");
        ConnectionCredentials secrets;
        secrets.password = TestServer::password();
        const auto guest = std::make_shared<SFTPService>(m_sshd->connectionByPassword(TestServer::user()), secrets,
                                                         std::make_shared<IsolatedClients>(m_sshd->knownHostsPath()));
        guest->connect({});
        QVERIFY(QDir().mkpath(m_sshd->sharedPath() + u"/closed"_s));
        const QString closed = m_sshd->sharedPath() + u"/closed/file"_s;
        putFile(closed, "old\r\n");
        QVERIFY(QFile::setPermissions(closed, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
        const QString message = messageOf([&] { comparedFile::save(saving(guest, closed), neverStops); });
        QVERIFY2(message.contains(u"ermission denied"_s), qPrintable(message));
        QCOMPARE(contentOf(closed), "old\r\n");
        QCOMPARE(left(m_sshd->sharedPath() + u"/closed"_s), QStringList{u"file"_s});
        guest->disconnect();
    }

    void characterWithoutBytesIsNamedBeforeAnythingIsWritten()
    {
        const QString file = m_tree.path("here/file");
        putFile(file, "old\r\n");
        comparedFile::Saving wanted = saving(service(false), file);
        wanted.encoding = TextEncoding::latin1;
        wanted.after = u"grün\nzł"_s;
        QCOMPARE(messageOf([&] { comparedFile::save(wanted, neverStops); }),
                 u"“ł” in line 2 cannot be written in the file's encoding, Latin-1."_s);
        QCOMPARE(contentOf(file), "old\r\n");
        wanted.after = u"grün"_s;
        QCOMPARE(comparedFile::save(wanted, neverStops), Outcome::sent);
        QCOMPARE(contentOf(file), "gr\xFCn");
    }
};

MOORIX_TEST(ComparedFileTest)
#include "ComparedFileTest.moc"
