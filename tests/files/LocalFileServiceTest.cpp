// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/LocalFileService.h"

#include "files/LocalCopy.h"
#include "support/FileServiceContract.h"
#include "support/TestMain.h"

#include <QDir>
#include <QScopeGuard>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

namespace {

const std::stop_token go;

struct stat statusOf(const QString &path)
{
    struct stat status = {};
    ::lstat(QFile::encodeName(path).constData(), &status);
    return status;
}

unsigned modeOf(const QString &path)
{
    return statusOf(path).st_mode & 07777;
}

void setMode(const QString &path, mode_t mode)
{
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode), 0);
}

void setTimes(const QString &path, time_t seconds)
{
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW), 0);
}

FileItem itemAt(const QString &path)
{
    return LocalFileService().stat(path, go).value_or(FileItem());
}

} // namespace

class LocalFileServiceTest : public QObject
{
    Q_OBJECT

    LocalFileService m_service;

private slots:
    void contractOfFileServicesHolds_data() { FileServiceContract::addRows(); }
    void contractOfFileServicesHolds() { FileServiceContract::runRow({m_service, TestTree().path()}); }

    void listingTellsKindsSizesTimesAndModes()
    {
        const TestTree tree{{"file.txt", "12345"}, {"folder/inside", "1"}};
        tree.link("link", "folder");
        tree.link("broken", "nowhere");
        tree.link("to file", "file.txt");
        setTimes(tree.path("file.txt"), 1700000000);
        setMode(tree.path("file.txt"), 04750);
        QMap<QByteArray, FileItem> items;
        for (const FileItem &item : m_service.list(tree.path(), HiddenFiles::asTheSourceDoes, go))
            items.insert(item.name.toUtf8(), item);
        QCOMPARE(items.keys(), (QList<QByteArray>{"broken", "file.txt", "folder", "link", "to file"}));
        FileItem file = entryAt(tree.path("file.txt"), 5);
        file.modified = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
        file.permissions = u"rwxr-x---"_s;
        QCOMPARE(items.value("file.txt"), file);
        QVERIFY(items.value("folder").isDirectory && items.value("folder").size == 0);
        const FileItem link = items.value("link");
        QVERIFY(link.isSymlink && !link.isDirectory && link.leadsToFolder);
        QVERIFY(!items.value("to file").leadsToFolder && !items.value("broken").leadsToFolder);
    }

    void namesThatAreNoUtf8AreAddressedExactly()
    {
        const TestTree tree;
        const QByteArray name = "M\xFCller \xE2\x82.txt";
        const QByteArray native = QFile::encodeName(tree.path()) + '/' + name;
        ::close(::open(native.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        const QList<FileItem> items = m_service.list(tree.path(), HiddenFiles::included, go);
        QCOMPARE(items.size(), 1);
        m_service.write("text", items.first().path, go);
        m_service.copy(items.first(), tree.path("copy"), go);
        m_service.rename(items.first(), u"plain"_s, go);
        QCOMPARE(tree.snapshot(), (TestTree{{"copy", "text"}, {"plain", "text"}}.snapshot()));
        m_service.rename(itemAt(tree.path("plain")), items.first().name, go);
        QCOMPARE(::access(native.constData(), F_OK), 0);
        m_service.remove(items.first(), go);
        QCOMPARE(tree.snapshot(), (TestTree{{"copy", "text"}}.snapshot()));
    }

    void failuresNameThePathAndTheReason()
    {
        const TestTree tree{{"folder/", ""}, {"file", "1"}};
        const QString missing = tree.path("missing");
        const QString folder = tree.path("folder");
        QCOMPARE(messageOf([&] { m_service.list(missing, HiddenFiles::included, go); }),
                 u"“%1” could not be opened: No such file or directory."_s.arg(missing));
        QCOMPARE(messageOf([&] { m_service.read(folder, go); }), u"“%1” is a folder, not a file."_s.arg(folder));
        QCOMPARE(messageOf([&] { m_service.read(u"file"_s, go); }), u"“file” is no absolute path."_s);
        QCOMPARE(messageOf([&] { m_service.copy(itemAt(tree.path("file")), folder, go); }),
                 u"“%1” already exists."_s.arg(folder));
        QVERIFY(m_service.freeSpace(folder, go).value_or(0) > 0 && !m_service.freeSpace(missing, go));
    }

    void fifoIsRefusedInsteadOfWaitedForAndNothingStaysOfACopy()
    {
        const TestTree tree{{"from/a/file", "1"}, {"from/b", "2"}};
        const QString fifo = tree.path("from/z");
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QVERIFY(messageOf([&] { m_service.read(fifo, go); }).contains(u"no ordinary file"));
        QVERIFY(messageOf([&] { m_service.write("x", fifo, go); }).contains(u"no ordinary file"));
        const FileItem from = itemAt(tree.path("from"));
        QVERIFY(messageOf([&] { m_service.copy(from, tree.path("to"), go); }).contains(u"cannot be copied"));
        QVERIFY(!tree.exists("to"));
    }

    void missingFoldersAboveAreMadeToo()
    {
        const TestTree tree{{"file", "1"}};
        m_service.createDirectory(tree.path("a/b/c"), go);
        m_service.createDirectory(tree.path("a/b"), go);
        QCOMPARE(tree.snapshot(), (TestTree{{"a/", ""}, {"a/b/", ""}, {"a/b/c/", ""}, {"file", "1"}}.snapshot()));
        QVERIFY(!messageOf([&] { m_service.createDirectory(tree.path("file/below"), go); }).isEmpty());
    }

    void writtenFileKeepsItsModeAndItsLink()
    {
        const TestTree tree{{"real/file", "old"}};
        tree.link("link", "real/file");
        QCOMPARE(::symlink("real/new", QFile::encodeName(tree.path("to nothing")).constData()), 0);
        setMode(tree.path("real/file"), 0640);
        const QByteArray file = QFile::encodeName(tree.path("real/file"));
        const bool hasAttributes = ::setxattr(file.constData(), "user.moorix", "kept", 4, 0) == 0;
        m_service.write("new", tree.path("link"), go);
        QCOMPARE(tree.read("real/file"), QByteArray("new"));
        QCOMPARE(modeOf(tree.path("real/file")), 0640U);
        QCOMPARE(::getxattr(file.constData(), "user.moorix", nullptr, 0), hasAttributes ? 4 : -1);
        QVERIFY(itemAt(tree.path("link")).isSymlink);
        m_service.write("text", tree.path("to nothing"), go);
        QCOMPARE(tree.read("real/new"), QByteArray("text"));
        QCOMPARE(tree.snapshot().size(), 5);
    }

    void fileWithSeveralNamesStaysOneFile()
    {
        const TestTree tree{{"a", "old and longer"}};
        QCOMPARE(::link(QFile::encodeName(tree.path("a")).constData(), QFile::encodeName(tree.path("b")).constData()),
                 0);
        for (const QByteArray content : {"new", "more than before", ""}) {
            m_service.write(content, tree.path("a"), go);
            QCOMPARE(tree.snapshot(), (TestTree{{"a", content}, {"b", content}}.snapshot()));
        }
    }

    void copyKeepsModesTimesAndLinks()
    {
        const TestTree tree{{"from/file", "text"}, {"from/locked/inside", "1"}};
        tree.link("from/link", "/nowhere");
        setMode(tree.path("from/file"), 0751);
        setMode(tree.path("from/locked"), 0500);
        for (const char *path : {"from/locked/inside", "from/file", "from/link", "from/locked", "from"})
            setTimes(tree.path(path), 1600000000);
        m_service.copy(itemAt(tree.path("from")), tree.path("to"), go);
        for (const char *path : {"", "/file", "/link", "/locked", "/locked/inside"}) {
            const QString copy = tree.path("to") + QString::fromLatin1(path);
            QCOMPARE(statusOf(copy).st_mtim.tv_sec, 1600000000);
            QCOMPARE(modeOf(copy), modeOf(tree.path("from") + QString::fromLatin1(path)));
        }
        QVERIFY(itemAt(tree.path("to/link")).isSymlink);
        QCOMPARE(tree.read("to/file"), QByteArray("text"));
    }

    void contentIsCopiedToTheByteWhateverSizeTheFileClaims()
    {
        QByteArray content(5 * 1024 * 1024 + 7, Qt::Uninitialized);
        for (qsizetype i = 0; i < content.size(); ++i)
            content[i] = char(i * 31 / 7);
        const TestTree tree{{"large", content}};
        m_service.copy(itemAt(tree.path("large")), tree.path("as large"), go);
        QVERIFY(tree.read("as large") == content);
        m_service.copy(itemAt(u"/proc/version"_s), tree.path("copy"), go);
        QVERIFY(tree.read("copy").startsWith("Linux"));
        QCOMPARE(m_service.read(u"/proc/version"_s, go), tree.read("copy"));
    }

    void folderIsNotPlacedInsideItself()
    {
        const TestTree tree{{"a/b/file", "1"}};
        tree.link("link", "a");
        const TreeSnapshot before = tree.snapshot();
        const FileItem a = itemAt(tree.path("a"));
        for (const char *target : {"a/copy", "a/b/copy", "link/copy"})
            QVERIFY2(messageOf([&] { m_service.copy(a, tree.path(target), go); }).contains(u"inside itself"), target);
        for (const char *target : {"a/moved", "link/moved"})
            QVERIFY2(!messageOf([&] { m_service.move(a, tree.path(target), go); }).isEmpty(), target);
        QCOMPARE(tree.snapshot(), before);
    }

    void copyOfALongNameHasRoomForItsPart()
    {
        const QString name = QString(127, u'ü');
        const TestTree tree{{name, "text"}};
        const QString copy = QString(126, u'ü') + u'x';
        m_service.copy(itemAt(tree.path(name)), tree.path(copy), go);
        m_service.write("new", tree.path(name), go);
        QCOMPARE(tree.snapshot(), (TestTree{{name, "new"}, {copy, "text"}}.snapshot()));
    }

    void moveToAnotherFileSystemTakesTheTreeAlong()
    {
        const TestTree tree{{"from/file", "text"}, {"from/folder/deep", "1"}};
        const QTemporaryDir other(u"/dev/shm/moorix-test-XXXXXX"_s);
        if (!other.isValid() || statusOf(other.path()).st_dev == statusOf(tree.path()).st_dev)
            QSKIP("There is no second file system to move to.");
        const QString target = other.filePath(u"to"_s);
        setTimes(tree.path("from/file"), 1600000000);
        QVERIFY(QDir(other.path()).mkdir(u"taken"_s));
        const FileItem from = itemAt(tree.path("from"));
        QVERIFY_THROWS_EXCEPTION(Error, m_service.move(from, other.filePath(u"taken"_s), go));
        QVERIFY(tree.exists("from/file"));
        m_service.move(from, target, go);
        QCOMPARE(tree.snapshot(), TreeSnapshot());
        QCOMPARE(snapshotOf(target), (TestTree{{"file", "text"}, {"folder/deep", "1"}}.snapshot()));
        QCOMPARE(statusOf(target + u"/file"_s).st_mtim.tv_sec, 1600000000);
    }

    void verificationNoticesWhatChangedMeanwhile()
    {
        for (const char *changed : {"from/file", "from/new", "to/file"}) {
            const TestTree tree{{"from/file", "text"}};
            setTimes(tree.path("from/file"), 1600000000);
            LocalCopy copy(tree.path("from"), tree.path("to"), go);
            copy.run();
            copy.verify();
            // As long as before in the source, shorter in the copy.
            tree.write(changed, qstrcmp(changed, "to/file") == 0 ? "cut" : "same");
            QVERIFY_THROWS_EXCEPTION(Error, copy.verify());
        }
    }

    void modeIsSetOnWhatTheOldModeClosed()
    {
        const TestTree tree{{"a/b/file", "1"}, {"outside", "2"}};
        tree.link("a/link", "outside");
        setMode(tree.path("outside"), 0600);
        setMode(tree.path("a/b"), 0);
        m_service.setPermissions(tree.path("a"), u"644"_s, Recursive::yes, go);
        QCOMPARE(modeOf(tree.path("a")), 0644U);
        m_service.setPermissions(tree.path("a"), u"755"_s, Recursive::yes, go);
        for (const char *path : {"a", "a/b", "a/b/file"})
            QCOMPARE(modeOf(tree.path(path)), 0755U);
        QCOMPARE(modeOf(tree.path("outside")), 0600U);
    }

    void textsThatAreNoModeAreRefused()
    {
        const TestTree tree{{"file", "1"}};
        setMode(tree.path("file"), 0640);
        for (const char *octal : {"", "9", "+755", " 755", "17777", "77777777777777777777"}) {
            const QString failure = messageOf(
                [&] { m_service.setPermissions(tree.path("file"), QString::fromLatin1(octal), Recursive::no, go); });
            QVERIFY2(failure.contains(u"no permission number"_s), octal);
        }
        QCOMPARE(modeOf(tree.path("file")), 0640U);
    }

    void rootAndDotsAreNeverRemovedAndALinkWithASlashIsRemovedAsALink()
    {
        const TestTree tree{{"folder/file", "1"}};
        for (const QString &path : {u"/"_s, tree.path("folder/."), tree.path("folder/.."), QString(), u"folder"_s}) {
            const FileItem item = entryAt(path);
            QVERIFY2(!messageOf([&] { m_service.remove(item, go); }).isEmpty(), qUtf8Printable(path));
        }
        tree.link("link", "folder");
        FileItem link = itemAt(tree.path("link"));
        link.path += u'/';
        m_service.remove(link, go);
        QCOMPARE(tree.snapshot(), (TestTree{{"folder/", ""}, {"folder/file", "1"}}.snapshot()));
    }

    void trashedFileLiesInTheBinAlsoWhenItIsTheFirst()
    {
        const TestTree home{{"file", "1"}};
        const QByteArray before = qgetenv("XDG_DATA_HOME");
        const auto restore =
            qScopeGuard([&before] { before.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before); });
        qputenv("XDG_DATA_HOME", QFile::encodeName(home.path("data")));
        m_service.moveToTrash(home.path("file"));
        QVERIFY(!home.exists("file"));
        QCOMPARE(home.read("data/Trash/files/file"), QByteArray("1"));
        QVERIFY(
            messageOf([&] { m_service.moveToTrash(home.path("file")); }).contains(u"could not be moved to the bin"));
    }
};

MOORIX_TEST(LocalFileServiceTest)
#include "LocalFileServiceTest.moc"
