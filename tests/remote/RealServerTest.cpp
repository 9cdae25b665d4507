// SPDX-License-Identifier: GPL-3.0-or-later
#include "RemoteTestSupport.h"

#include "remote/SFTPService.h"
#include "support/FileServiceContract.h"
#include "support/TestMain.h"
#include "support/TestServer.h"

#include <QDir>
#include <QTest>

using namespace moorix;
using namespace moorix::test;

namespace {

/// Names that break programs which build command lines carelessly.
const QStringList oddNames{QStringLiteral("plain"),         QStringLiteral(".hidden"), QStringLiteral("two  spaces"),
                           QStringLiteral(" around "),      QStringLiteral("-rf"),     QStringLiteral("a\\b"),
                           QStringLiteral("end\\"),         QStringLiteral("q\"uote"), QStringLiteral("it's"),
                           QStringLiteral("$(touch gone)"), QStringLiteral("`id`"),    QStringLiteral("bang!"),
                           QStringLiteral("{a,b}"),         QStringLiteral("*"),       QStringLiteral("a?[b]"),
                           QStringLiteral("#x; &"),         QStringLiteral("größe"),   QStringLiteral("a -> b"),
                           QStringLiteral("x\\101")};

void writeLocal(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray readLocal(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<cannot be read>");
}

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
        m_folder = std::make_unique<QTemporaryDir>(m_sshd->sharedPath() + QStringLiteral("/t-XXXXXX"));
        QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777));
    }

    void connectLearnsTheHomeFolder() { QCOMPARE(m_service->defaultDirectory(neverStops), QDir::homePath()); }

    void whatIsPutIsListedAndReadBack()
    {
        m_service->write("some bytes\n", at("new.txt"), neverStops);
        const QList<FileItem> items = m_service->list(m_folder->path(), HiddenFiles::asTheSourceDoes, neverStops);
        QCOMPARE(items.size(), 1);
        QCOMPARE(items.constFirst().name, QStringLiteral("new.txt"));
        QCOMPARE(items.constFirst().path, at("new.txt"));
        QCOMPARE(items.constFirst().size, 11);
        QVERIFY(qAbs(items.constFirst().modified->secsTo(QDateTime::currentDateTime())) < 120);
        QCOMPARE(m_service->read(at("new.txt"), neverStops), QByteArray("some bytes\n"));
    }

    void hiddenFilesAreListedOnRequest()
    {
        writeLocal(at(".hidden"), "x");
        QVERIFY(m_service->list(m_folder->path(), HiddenFiles::asTheSourceDoes, neverStops).isEmpty());
        QCOMPARE(namesOf(m_service->list(m_folder->path(), HiddenFiles::included, neverStops)),
                 QStringList{QStringLiteral(".hidden")});
    }

    // The names that `sftp`, a shell and `ls` would each misread; the others pass through the cheaper test below.
    void contractOfFileServicesHolds_data()
    {
        FileServiceContract::addRows({QStringLiteral("a\\b"), QStringLiteral("{a,b}"), QStringLiteral("$(touch x)")});
    }

    void contractOfFileServicesHolds()
    {
        FileServiceContract::runRow({*m_service, m_folder->path(), [](const QString &target, const QString &link) {
                                         QVERIFY(QFile::link(target, link));
                                     }});
    }

    void failuresInsideABatchAreThrown_data()
    {
        QTest::addColumn<std::function<void(SFTPService &, const QString &)>>("action");
        QTest::addColumn<FileServiceError::Case>("kind");
        QTest::addColumn<QString>("words");
        using Action = std::function<void(SFTPService &, const QString &)>;
        using enum FileServiceError::Case;
        QTest::newRow("rm of nothing") << Action([](SFTPService &s, const QString &f) {
            FileItem item;
            item.path = f + QStringLiteral("/none");
            s.remove(item, neverStops);
        }) << notFound << QStringLiteral("Not found: %1/none");
        QTest::newRow("list of nothing") << Action([](SFTPService &s, const QString &f) {
            s.list(f + QStringLiteral("/none"), HiddenFiles::asTheSourceDoes, neverStops);
        }) << notFound << QStringLiteral("Not found: %1/none");
        QTest::newRow("get of nothing") << Action([](SFTPService &s, const QString &f) {
            s.read(f + QStringLiteral("/none"), neverStops);
        }) << notFound << QStringLiteral("Not found: %1/none");
        QTest::newRow("mkdir on a folder")
            << Action([](SFTPService &s, const QString &f) { s.createDirectory(f, neverStops); }) << operationFailed
            << QStringLiteral("“%1” could not be created: the server refused it without a reason.");
        QTest::newRow("mkdir in nothing") << Action([](SFTPService &s, const QString &f) {
            s.createDirectory(f + QStringLiteral("/none/x"), neverStops);
        }) << notFound << QStringLiteral("Not found: %1/none");
        QTest::newRow("chmod of nothing") << Action([](SFTPService &s, const QString &f) {
            s.setPermissions(f + QStringLiteral("/none"), QStringLiteral("644"), Recursive::no, neverStops);
        }) << notFound << QStringLiteral("Not found: %1/none");
        QTest::newRow("put into nothing")
            << Action([](SFTPService &s, const QString &f) { s.write("x", f + QStringLiteral("/none/x"), neverStops); })
            << operationFailed << QStringLiteral("No such file or directory");
        QTest::newRow("put of nothing") << Action([](SFTPService &s, const QString &f) {
            s.upload(f + QStringLiteral("/none"), f + QStringLiteral("/x"), {}, neverStops);
        }) << operationFailed << QStringLiteral("No such file or directory");
        QTest::newRow("rename of nothing") << Action([](SFTPService &s, const QString &f) {
            FileItem item;
            item.path = f + QStringLiteral("/none");
            s.rename(item, QStringLiteral("other"), neverStops);
        }) << notFound << QStringLiteral("Not found: %1/none");
        QTest::newRow("cp of nothing") << Action([](SFTPService &s, const QString &f) {
            s.copyRemote(f + QStringLiteral("/none"), f + QStringLiteral("/x"), neverStops);
        }) << operationFailed << QStringLiteral("“%1/none” could not be copied");
    }

    void failuresInsideABatchAreThrown()
    {
        QFETCH(std::function<void(SFTPService &, const QString &)>, action);
        QFETCH(FileServiceError::Case, kind);
        QFETCH(QString, words);
        const auto run = [&] { action(*m_service, m_folder->path()); };
        const QString message = messageOf(run);
        QVERIFY2(message.contains(words.replace(QStringLiteral("%1"), m_folder->path())), qPrintable(message));
        QVERIFY(caseOf(run) == kind);
    }

    void existingTargetsAreNeverReplacedByRenameOrMove()
    {
        writeLocal(at("a"), "a");
        writeLocal(at("b"), "b");
        const std::optional<FileItem> a = m_service->stat(at("a"), neverStops);
        QVERIFY(messageOf([&] {
                    m_service->rename(*a, QStringLiteral("b"), neverStops);
                }).contains(QStringLiteral("exists")));
        QVERIFY(messageOf([&] { m_service->move(*a, at("b"), neverStops); }).contains(QStringLiteral("exists")));
        QVERIFY(messageOf([&] { m_service->copy(*a, at("b"), neverStops); }).contains(QStringLiteral("exists")));
        QCOMPARE(readLocal(at("b")), QByteArray("b"));
        m_service->rename(*a, QStringLiteral("c"), neverStops);
        QCOMPARE(readLocal(at("c")), QByteArray("a"));
    }

    void oddNamesTravelExactlyThroughEveryCommand()
    {
        for (const QString &name : oddNames) {
            const QString path = m_folder->filePath(QStringLiteral("./") + name);
            m_service->write(name.toUtf8(), path, neverStops);
            QCOMPARE(readLocal(path), name.toUtf8());
            QCOMPARE(m_service->read(path, neverStops), name.toUtf8());
            m_service->setPermissions(path, QStringLiteral("604"), Recursive::no, neverStops);
        }
        QStringList expected = oddNames;
        expected.sort();
        QList<FileItem> items = m_service->list(m_folder->path(), HiddenFiles::included, neverStops);
        QCOMPARE(exactNames(items), expected);
        for (const FileItem &item : items)
            QCOMPARE(item.permissions, QStringLiteral("rw----r--"));
        for (const FileItem &item : items)
            m_service->remove(item, neverStops);
        QVERIFY(QDir(m_folder->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void linksAreToldFromWhatTheyLeadTo()
    {
        QDir(m_folder->path()).mkdir(QStringLiteral("dir"));
        writeLocal(at("file"), "four");
        QFile::link(QStringLiteral("dir"), at("toDir"));
        QFile::link(QStringLiteral("file"), at("toFile"));
        QFile::link(QStringLiteral("nowhere"), at("dangling"));
        const auto stat = [this](const char *name) { return m_service->stat(at(name), neverStops); };
        QVERIFY(stat("dir")->isDirectory && !stat("dir")->isSymlink);
        for (const char *link : {"toDir", "toFile", "dangling"})
            QVERIFY2(stat(link)->isSymlink && !stat(link)->isDirectory, link);
        QVERIFY(!stat("none"));
        const FileItem folder = m_service->followLink(*stat("toDir"), neverStops);
        QVERIFY(folder.isDirectory);
        QCOMPARE(folder.path, at("toDir"));
        QCOMPARE(m_service->followLink(*stat("toFile"), neverStops).size, 4);
        QVERIFY(messageOf([&] {
                    m_service->followLink(*stat("dangling"), neverStops);
                }).contains(QStringLiteral("leads to nothing")));
        m_service->remove(*stat("toDir"), neverStops);
        QVERIFY(QFileInfo::exists(at("dir")) && !QFileInfo::exists(at("toDir")));
    }

private:
    QString at(const char *name) const { return m_folder->path() + u'/' + QString::fromUtf8(name); }

    std::unique_ptr<TestServer> m_sshd;
    std::shared_ptr<IsolatedClients> m_clients;
    std::unique_ptr<SFTPService> m_service;
    std::unique_ptr<QTemporaryDir> m_folder;
};

Q_DECLARE_METATYPE(std::function<void(moorix::SFTPService &, const QString &)>)

MOORIX_TEST(RealServerTest)
#include "RealServerTest.moc"
