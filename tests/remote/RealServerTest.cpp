// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPService.h"
#include "support/FileServiceContract.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "support/TestTree.h"

#include <QDir>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

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
        QCOMPARE(namesOf(items), QStringList{u"new.txt"_s});
        QCOMPARE(items.constFirst().size, 11);
        QVERIFY(qAbs(items.constFirst().modified->secsTo(QDateTime::currentDateTime())) < 120);
        QCOMPARE(m_service->list(m_folder->path(), HiddenFiles::included, neverStops).size(), 2);
        QCOMPARE(m_service->defaultDirectory(neverStops), QDir::homePath());
    }

    // The names that `sftp`, a shell and `ls` would each misread; the others pass through the tests of quoting.
    void contractOfFileServicesHolds_data()
    {
        FileServiceContract::addRows({u"a\\b"_s, u"{a,b}"_s, u"$(touch x)"_s, u" *?[ab]'q\"#`id`;!$x\\ ü -> b"_s});
    }

    void contractOfFileServicesHolds() { FileServiceContract::runRow({*m_service, m_folder->path()}); }

    void failuresInsideABatchAreThrown()
    {
        using enum FileServiceError::Case;
        struct Row
        {
            FileServiceError::Case kind;
            QString words;
            std::function<void()> action;
        };
        const QString none = at("none");
        FileItem item;
        item.path = none;
        const QString notThere = u"Not found: "_s + none;
        const QString noSuchFile = u"No such file or directory"_s;
        for (const auto &[kind, words, action] : std::initializer_list<Row>{
                 {notFound, notThere, [&] { m_service->remove(item, neverStops); }},
                 {notFound, notThere, [&] { m_service->list(none, HiddenFiles::asTheSourceDoes, neverStops); }},
                 {notFound, notThere, [&] { m_service->read(none, neverStops); }},
                 {notFound, notThere, [&] { m_service->createDirectory(none + u"/x"_s, neverStops); }},
                 {notFound, notThere, [&] { m_service->setPermissions(none, u"644"_s, Recursive::no, neverStops); }},
                 {notFound, notThere, [&] { m_service->rename(item, u"other"_s, neverStops); }},
                 {operationFailed, u"the server refused it without a reason."_s,
                  [&] { m_service->createDirectory(m_folder->path(), neverStops); }},
                 {operationFailed, noSuchFile, [&] { m_service->write("x", none + u"/x"_s, neverStops); }},
                 {operationFailed, noSuchFile, [&] { m_service->upload(none, at("x"), {}, neverStops); }},
                 {operationFailed, u"“%1” could not be copied"_s.arg(none),
                  [&] { m_service->copyRemote(none, at("x"), neverStops); }},
             }) {
            const QString message = messageOf(action);
            QVERIFY2(message.contains(words) && caseOf(action) == kind, qPrintable(message));
        }
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
