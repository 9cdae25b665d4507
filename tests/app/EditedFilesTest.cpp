// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EditedFiles.h"

#include "AppScene.h"
#include "base/Json.h"
#include "files/NativePath.h"
#include "remote/FTPService.h"
#include "remote/SFTPService.h"
#include "support/FTPServer.h"
#include "support/TestServer.h"

#include <QDir>
#include <QFileInfo>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;
using State = EditedFile::State;
using Guard = EditedFiles::Guard;

namespace {

/// An upload runs a dozen processes one after the other.
constexpr int patience = 20'000;

/// One program that edits files of a real server.
struct Desk
{
    TestTree home{{"data/", ""}, {"safe/", ""}};
    ServerConnection server;
    std::shared_ptr<IsolatedClients> runner;
    ServerConnections connections{[this](const ServerConnection &record, const auto &) {
                                      std::shared_ptr<RemoteFileService> made;
                                      if (record.networkProtocol == NetworkProtocol::ftp)
                                          made = std::make_shared<FTPService>(record, FTPServer::credentials(), runner);
                                      else
                                          made = std::make_shared<SFTPService>(record, ConnectionCredentials(), runner);
                                      return made;
                                  },
                                  runner};
    /// As a tab of the server holds it.
    std::shared_ptr<RemoteFileService> service;
    std::unique_ptr<EditedFiles> files;
    QString copy;
    QString problem;

    explicit Desk(const TestServer &sshd)
        : Desk(sshd, sshd.connection())
    {
    }
    Desk(const TestServer &sshd, const ServerConnection &record)
        : server(record)
        , runner(std::make_shared<IsolatedClients>(sshd.knownHostsPath()))
    {
        qputenv("XDG_DATA_HOME", home.path("data").toUtf8());
        start();
    }

    std::unique_ptr<EditedFiles> program()
    {
        return std::make_unique<EditedFiles>(
            EditedFiles::Environment{home.path("edited"), std::make_shared<LocalFileService>(), connections,
                                     [this](const QUuid &) { return std::optional(server); }, TransferLink::Delays(),
                                     std::chrono::milliseconds(100)});
    }
    void start() { files = program(); }
    void open(const QString &path)
    {
        const auto failed = [this](const Error &error) { problem = error.message(); };
        Job job = connections.open(
            server, std::nullopt, [this](const OpenConnection &open) { service = open.service; }, failed);
        QTRY_VERIFY2(service, qPrintable(problem));
        const auto file = LocalFileService().stat(path, {});
        QVERIFY(file);
        copy.clear();
        Job fetch = files->fetch(
            server, service, *file, std::make_shared<std::atomic<qint64>>(0),
            [this](const QString &fetched) { copy = fetched; }, failed);
        QTRY_VERIFY2(!copy.isEmpty(), qPrintable(problem));
    }
    void save(const QByteArray &text) const { putFile(copy, text); }
    State state() const { return files->files().constFirst().state; }
    QUuid id() const { return files->files().constFirst().id; }
    QStringList kept() const { return QDir(home.path("edited")).entryList(QDir::Dirs | QDir::NoDotAndDotDot); }
};

} // namespace

class EditedFilesTest final : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestServer> m_sshd;

    QString onServer(const QString &name) const { return m_sshd->sharedPath() + u'/' + name; }
    void write(const QString &name, const QByteArray &text) const { putFile(onServer(name), text); }
    QByteArray read(const QString &name) const { return contentOf(onServer(name)); }
    QStringList names() const { return QDir(m_sshd->sharedPath()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

private slots:
    void initTestCase() { m_sshd = std::make_unique<TestServer>(); }
    void cleanup()
    {
        for (const QString &name : names())
            QFile::remove(onServer(name));
    }
    void cleanupTestCase() { m_sshd.reset(); }

    void whatIsSavedIsUploadedAndKeepsItsMode()
    {
        enum { inPlace, byRename, throughLink };
        for (const auto way : {inPlace, byRename, throughLink}) {
            cleanup();
            const QString name = u"größe & more.conf"_s;
            write(name, "first");
            const auto mode = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup;
            QFile::setPermissions(onServer(name), mode);
            QFile::link(name, onServer(u"link"_s));
            Desk desk(*m_sshd);
            desk.open(onServer(way == throughLink ? u"link"_s : name));
            QCOMPARE(QFileInfo(desk.copy).fileName(), way == throughLink ? u"link"_s : name);
            QCOMPARE(QFile::permissions(desk.copy) & 0x7077, QFile::ReadOwner | QFile::WriteOwner);
            QCOMPARE(QFile::permissions(QFileInfo(desk.copy).path()) & 0x0077, QFile::Permissions());
            // The second save is noticed too, although another file lies there since the first.
            for (const QByteArray text : {"second", "third version"}) {
                if (way == byRename) {
                    putFile(desk.copy + u"~"_s, text);
                    QVERIFY(QFile::remove(desk.copy) && QFile::rename(desk.copy + u"~"_s, desk.copy));
                } else {
                    desk.save(text);
                }
                QTRY_COMPARE_WITH_TIMEOUT(read(name), text, patience);
                QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::uploaded, patience);
            }
            QCOMPARE(QFile::permissions(onServer(name)) & 0x7077, mode & 0x7077);
            QVERIFY(QFileInfo(onServer(u"link"_s)).isSymLink());
            QCOMPARE(names(), (QStringList{name, u"link"_s}));
            desk.files.reset();
            QCOMPARE(desk.kept(), QStringList());
        }
    }

    void fileOfAnFTPServerIsUploadedUnlessItWasChangedThere()
    {
        if (const QString missing = FTPServer::missing(FTPServer::Program::vsftpd); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const FTPServer ftpd(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
        const QString path = ftpd.sharedPath() + u"/größe & more.conf"_s;
        putFile(path, "first");
        QFile::setPermissions(path, QFile::Permissions(0x6664));
        Desk desk(*m_sshd, ftpd.connection());
        desk.open(path);
        desk.save("second");
        QTRY_COMPARE_WITH_TIMEOUT(contentOf(path), QByteArray("second"), patience);
        QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::uploaded, patience);
        QCOMPARE(QFile::permissions(path) & 0x7077, QFile::Permissions(0x6064));
        putFile(path, "theirs, and longer");
        desk.save("third");
        QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::changedThere, patience);
        QCOMPARE(contentOf(path), QByteArray("theirs, and longer"));
        desk.files->send(desk.id(), EditedFiles::Guard::anything);
        QTRY_COMPARE_WITH_TIMEOUT(contentOf(path), QByteArray("third"), patience);
        QCOMPARE(QDir(ftpd.sharedPath()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void nameThatIsNoUnicodeIsUploadedToAlsoAfterAnEndOfTheProgram()
    {
        if (const QString missing = FTPServer::missing(FTPServer::Program::vsftpd); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const FTPServer ftpd(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
        const QString path = ftpd.sharedPath() + u'/' + NativePath::text("caf\xE9.txt");
        LocalFileService disk;
        disk.write("first", path, {});
        Desk desk(*m_sshd, ftpd.connection());
        desk.open(path);
        desk.save("second");
        QTRY_COMPARE_WITH_TIMEOUT(disk.read(path, {}), QByteArray("second"), patience);
        QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::uploaded, patience);
        desk.save("third");
        desk.files.reset();
        desk.start();
        QTRY_COMPARE(desk.files->files().size(), 1);
        desk.files->send(desk.id(), Guard::known);
        QTRY_COMPARE_WITH_TIMEOUT(disk.read(path, {}), QByteArray("third"), patience);
    }

    void fileChangedOnTheServerMeanwhileIsOnlyReplacedOnRequest()
    {
        enum { anyway, keepBoth, discard };
        // Of the same size and, as a listing tells it, of the same time as what was fetched; the last is removed.
        const std::tuple<int, QByteArray, TreeSnapshot> rows[] = {
            {anyway, "theirs", {{u"a.txt"_s, "mine"}}},
            {keepBoth, "theirs", {{u"a.txt"_s, "theirs"}, {u"a 2.txt"_s, "mine"}}},
            {discard, "theirs", {{u"a.txt"_s, "theirs"}}},
            {anyway, "", {{u"a.txt"_s, "mine"}}}};
        for (auto [answer, theirs, after] : rows) {
            cleanup();
            write(u"a.txt"_s, "before");
            Desk desk(*m_sshd);
            desk.open(onServer(u"a.txt"_s));
            if (theirs.isEmpty())
                QFile::remove(onServer(u"a.txt"_s));
            else
                write(u"a.txt"_s, theirs);
            desk.save("mine");
            QTRY_COMPARE_WITH_TIMEOUT(desk.state(), theirs.isEmpty() ? State::goneThere : State::changedThere,
                                      patience);
            QCOMPARE(read(u"a.txt"_s), theirs);
            if (answer == discard) {
                desk.files->discard(desk.id());
                QTRY_COMPARE(desk.kept(), QStringList());
                QCOMPARE(desk.home.read("data/Trash/files/a.txt"), "mine");
                QCOMPARE(desk.files->files().size(), 0);
            } else {
                desk.files->send(desk.id(), answer == keepBoth ? Guard::nothing : Guard::anything);
                QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::uploaded, patience);
            }
            QCOMPARE(snapshotOf(m_sshd->sharedPath()), after);
            if (answer != keepBoth)
                continue;
            desk.save("mine again");
            after.insert(u"a 2.txt"_s, "mine again");
            QTRY_COMPARE_WITH_TIMEOUT(snapshotOf(m_sshd->sharedPath()), after, patience);
        }
    }

    void textIsKeptWhileTheServerIsAwayAndAcrossAnEndOfTheProgram()
    {
        write(u"a.txt"_s, "before");
        write(u"b.txt"_s, "untouched");
        Desk desk(*m_sshd);
        desk.open(onServer(u"a.txt"_s));
        desk.service.reset();
        const quint16 port = std::exchange(desk.server.port, quint16(1));
        desk.save("mine");
        QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::failed, patience);
        QVERIFY(!desk.files->files().constFirst().problem.isEmpty());
        desk.files->saveAs(desk.id(), desk.home.path("safe/copy"));
        QTRY_COMPARE(desk.home.read("safe/copy"), "mine");

        // Another program neither takes it away nor touches it; one that starts after the end finds it.
        const std::unique_ptr<EditedFiles> other = desk.program();
        desk.server.port = port;
        desk.open(onServer(u"b.txt"_s));
        const QString clean = QFileInfo(QFileInfo(desk.copy).path()).path();
        QCOMPARE(QProcess::execute(u"cp"_s, {u"-r"_s, clean, desk.home.path("edited/") + uuidText(newUuid())}), 0);
        QCOMPARE(desk.kept().size(), 3);
        desk.files.reset();
        desk.service.reset();
        QTRY_COMPARE(desk.kept().size(), 2);
        desk.start();
        QTRY_COMPARE(desk.files->files().size(), 1);
        QCOMPARE(desk.kept().size(), 1);
        QCOMPARE(desk.state(), State::leftOver);
        QCOMPARE(other->files().size(), 0);
        QCOMPARE(read(u"a.txt"_s), "before");
        desk.files->send(desk.id(), Guard::known);
        QTRY_COMPARE_WITH_TIMEOUT(desk.state(), State::uploaded, patience);
        QCOMPARE(read(u"a.txt"_s), "mine");
        desk.files.reset();
        QCOMPARE(desk.kept(), QStringList());
    }

    void serverThatIsDisconnectedGetsNothingBeforeTheNextSave()
    {
        write(u"a.txt"_s, "before");
        Desk desk(*m_sshd);
        desk.open(onServer(u"a.txt"_s));
        desk.save("mine");
        QTRY_VERIFY(!desk.files->unsent().isEmpty());
        desk.connections.disconnect(desk.server.id);
        QCOMPARE(desk.state(), State::failed);
        QTest::qWait(300); // longer than the settling time
        QCOMPARE(desk.state(), State::failed);
        QCOMPARE(read(u"a.txt"_s), "before");
        desk.save("mine again");
        QTRY_COMPARE_WITH_TIMEOUT(read(u"a.txt"_s), "mine again", patience);
    }

    void diskThatIsFullLeavesTheServersFileAndTakesTheNextSave()
    {
        if (!m_sshd->hasAccounts())
            QSKIP("Only root can mount a small disk.");
        Desk desk(*m_sshd);
        SFTPService service(desk.server, ConnectionCredentials(), desk.runner);
        service.connect({});
        const QString path = m_sshd->fullDiskPath() + u"/a"_s;
        service.write("old", path, {});
        EditedRecord record;
        record.server = desk.server.id;
        const FileItem file = *service.stat(path, {});
        const auto copy = editedVersion::fetch(service, file, record, desk.home.path("edited"), [](qint64) {}, {});
        record = *copy->load();
        const auto send = [&](const QByteArray &text) {
            putFile(copy->filePath(record), text);
            editedVersion::Sending sending;
            sending.disk = std::make_shared<LocalFileService>();
            sending.server = std::shared_ptr<FileService>(&service, [](FileService *) {});
            sending.progress = [](qint64, qint64) {};
            return editedVersion::send(sending, *copy, record, {});
        };
        QVERIFY_THROWS_EXCEPTION(Error, send(QByteArray(100'000, 'x')));
        QCOMPARE(service.read(path, {}), QByteArray("old"));
        QCOMPARE(service.list(m_sshd->fullDiskPath(), HiddenFiles::included, {}).size(), 1);
        QCOMPARE(send("new"), editedVersion::Outcome::sent);
        QCOMPARE(service.read(path, {}), QByteArray("new"));
        service.disconnect();
        copy->remove();
    }

    void nothingStaysOfAFileThatCouldNotBeFetched()
    {
        for (const bool isGivenUp : {false, true}) {
            AppScene scene;
            const auto server = std::make_shared<FolderServer>();
            std::atomic<bool> mayGoOn = false;
            server->halfway = [&mayGoOn, isGivenUp](const QString &) {
                while (!mayGoOn)
                    QThread::yieldCurrentThread();
                if (!isGivenUp)
                    throw FileServiceError::operationFailed(u"The line is dead."_s);
            };
            const auto kept = [&scene] {
                return QDir(scene.tree.path("edited")).entryList(QDir::NoDotAndDotDot | QDir::Dirs);
            };
            EditedFiles files({scene.tree.path("edited"), std::make_shared<LocalFileService>(), scene.connections,
                               [](const QUuid &) { return std::nullopt; }});
            const auto received = std::make_shared<std::atomic<qint64>>(0);
            QString outcome;
            Job job = files.fetch(
                serverNamed(u"web"_s), server, *LocalFileService().stat(scene.tree.path("srv/deep/c.txt"), {}),
                received, [&outcome](const QString &path) { outcome = path; },
                [&outcome](const Error &error) { outcome = error.message(); });
            QTRY_COMPARE(kept().size(), 1);
            if (isGivenUp)
                job.cancel();
            mayGoOn = true;
            QTRY_COMPARE(kept(), QStringList());
            QTRY_COMPARE(outcome, isGivenUp ? QString() : u"The line is dead."_s);
        }
    }
};

MOORIX_TEST(EditedFilesTest)
#include "EditedFilesTest.moc"
