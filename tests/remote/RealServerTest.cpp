// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "remote/SFTPService.h"
#include "support/FileServiceContract.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

/// Names that break programs which build command lines carelessly.
const QStringList oddNames{u"plain"_s, u".hidden"_s, u"two  spaces"_s, u" around "_s, u"-rf"_s,
                           u"a\\b"_s,  u"end\\"_s,   u"q\"uote"_s,     u"it's"_s,     u"$(touch gone)"_s,
                           u"`id`"_s,  u"bang!"_s,   u"{a,b}"_s,       u"*"_s,        u"a?[b]"_s,
                           u"#x; &"_s, u"größe"_s,   u"a -> b"_s,      u"x\\101"_s};

QStringList exactNames(const QList<FileItem> &items)
{
    QStringList names;
    for (const FileItem &item : items)
        names << item.path.mid(item.path.lastIndexOf(u'/') + 1);
    names.sort();
    return names;
}

} // namespace

/// The service against a real sshd through the real clients.
class RealServerTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_sshd = std::make_unique<TestServer>();
        m_clients = std::make_shared<IsolatedClients>(m_sshd->knownHostsPath());
        m_service = std::make_unique<SFTPService>(m_sshd->connection(), ConnectionCredentials(), m_clients);
        m_service->connect(neverStops);
    }

    void cleanupTestCase()
    {
        if (m_service)
            m_service->disconnect();
        m_service.reset();
        m_sshd.reset();
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>(m_sshd->sharedPath() + u"/t-XXXXXX"_s);
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777));
    }

    void listingTellsSizesAndTimesAndHiddenFilesOnRequestOnly()
    {
        putFile(at("new.txt"), "some bytes\n");
        putFile(at(".hidden"), "x");
        const QList<FileItem> items = m_service->list(m_folder->path(), HiddenFiles::asTheSourceDoes, neverStops);
        QCOMPARE(exactNames(items), QStringList{u"new.txt"_s});
        QCOMPARE(items.constFirst().size, 11);
        QVERIFY(qAbs(items.constFirst().modified->secsTo(QDateTime::currentDateTime())) < 120);
        QCOMPARE(m_service->list(m_folder->path(), HiddenFiles::included, neverStops).size(), 2);
        QCOMPARE(m_service->defaultDirectory(neverStops), QDir::homePath());
    }

    // The names that `sftp`, a shell and `ls` would each misread; the others pass through the cheaper test below.
    void contractOfFileServicesHolds_data() { FileServiceContract::addRows({u"a\\b"_s, u"{a,b}"_s, u"$(touch x)"_s}); }

    void contractOfFileServicesHolds()
    {
        FileServiceContract::runRow({*m_service, m_folder->path(), [](const QString &target, const QString &link) {
                                         QVERIFY(QFile::link(target, link));
                                     }});
    }

    void failuresInsideABatchAreThrown()
    {
        using enum FileServiceError::Case;
        const QString folder = m_folder->path();
        const QString none = at("none");
        FileItem item;
        item.path = none;
        const auto failsWith = [](FileServiceError::Case kind, const QString &words, const auto &action) {
            const QString message = messageOf(action);
            return caseOf(action) == kind && message.contains(words) ? QString()
                                                                     : message + u" is no failure as expected"_s;
        };
        const auto isNotFound = [&](const auto &action) {
            return failsWith(notFound, u"Not found: "_s + none, action);
        };
        QCOMPARE(isNotFound([&] { m_service->remove(item, neverStops); }), QString());
        QCOMPARE(isNotFound([&] { m_service->list(none, HiddenFiles::asTheSourceDoes, neverStops); }), QString());
        QCOMPARE(isNotFound([&] { m_service->read(none, neverStops); }), QString());
        QCOMPARE(isNotFound([&] { m_service->createDirectory(none + u"/x"_s, neverStops); }), QString());
        QCOMPARE(isNotFound([&] { m_service->setPermissions(none, u"644"_s, Recursive::no, neverStops); }), QString());
        QCOMPARE(isNotFound([&] { m_service->rename(item, u"other"_s, neverStops); }), QString());
        const QString noSuchFile = u"No such file or directory"_s;
        QCOMPARE(failsWith(operationFailed, u"the server refused it without a reason."_s,
                           [&] { m_service->createDirectory(folder, neverStops); }),
                 QString());
        QCOMPARE(failsWith(operationFailed, noSuchFile, [&] { m_service->write("x", none + u"/x"_s, neverStops); }),
                 QString());
        QCOMPARE(failsWith(operationFailed, noSuchFile, [&] { m_service->upload(none, at("x"), {}, neverStops); }),
                 QString());
        QCOMPARE(failsWith(operationFailed, u"“%1” could not be copied"_s.arg(none),
                           [&] { m_service->copyRemote(none, at("x"), neverStops); }),
                 QString());
    }

    void oddNamesTravelExactlyThroughEveryCommand()
    {
        for (const QString &name : oddNames) {
            const QString path = m_folder->filePath(u"./"_s + name);
            m_service->write(name.toUtf8(), path, neverStops);
            QCOMPARE(contentOf(path), name.toUtf8());
            QCOMPARE(m_service->read(path, neverStops), name.toUtf8());
            m_service->setPermissions(path, u"604"_s, Recursive::no, neverStops);
        }
        QStringList expected = oddNames;
        expected.sort();
        QList<FileItem> items = m_service->list(m_folder->path(), HiddenFiles::included, neverStops);
        QCOMPARE(exactNames(items), expected);
        for (const FileItem &item : items)
            QCOMPARE(item.permissions, u"rw----r--"_s);
        for (const FileItem &item : items)
            m_service->remove(item, neverStops);
        QVERIFY(QDir(m_folder->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

private:
    QString at(const char *name) const { return m_folder->path() + u'/' + QString::fromUtf8(name); }

    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
    std::unique_ptr<SFTPService> m_service;
    std::unique_ptr<QTemporaryDir> m_folder;
};

MOORIX_TEST(RealServerTest)
#include "RealServerTest.moc"
