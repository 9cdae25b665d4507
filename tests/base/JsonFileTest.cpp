// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/JsonFile.h"

#include "base/Error.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QFileInfo>

#include <csignal>
#include <sys/resource.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

namespace {

/// While it lives no file can grow beyond some bytes: a full disk, for root too.
class FullDisk final
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit m_before;
};

} // namespace

class JsonFileTest : public QObject
{
    Q_OBJECT

private slots:
    void aDocumentAndItsFolderAreForTheUserAlone()
    {
        const TestTree tree;
        jsonFile::write(tree.path("new/folder/doc.json"), "{}");
        const auto modeOf = [&tree](const char *path) { return QFile::permissions(tree.path(path)) & 0x7077; };
        QCOMPARE(modeOf("new/folder"), QFile::Permissions(0x7000));
        QCOMPARE(modeOf("new/folder/doc.json"), QFile::Permissions(0x6000));
        QCOMPARE(jsonFile::read(tree.path("new/folder/doc.json")), std::optional(QByteArray("{}")));
    }

    void aSaveThatFailsHalfwayKeepsTheOldDocument()
    {
        const TestTree tree{{"doc.json", "old"}};
        const auto before = tree.snapshot();
        const QString message = test::messageOf([&] {
            const FullDisk disk(4096);
            jsonFile::write(tree.path("doc.json"), QByteArray(100000, 'x'));
        });
        QVERIFY2(message.startsWith(u"“%1” could not be saved: "_s.arg(tree.path("doc.json"))), qPrintable(message));
        QCOMPARE(tree.snapshot(), before);
    }

    void aLinkedDocumentStaysALink()
    {
        const TestTree tree{{"elsewhere/real.json", "old"}};
        tree.link("doc.json", tree.path("elsewhere/real.json"));
        jsonFile::write(tree.path("doc.json"), "new");
        QVERIFY(QFileInfo(tree.path("doc.json")).isSymLink());
        QCOMPARE(tree.read("elsewhere/real.json"), QByteArray("new"));
    }

    void anUnreadableDocumentIsNotTakenForAMissingOne()
    {
        const TestTree tree{{"folder/", ""}};
        tree.link("dangling", tree.path("gone"));
        QCOMPARE(jsonFile::read(tree.path("missing")), std::optional<QByteArray>());
        QVERIFY_THROWS_EXCEPTION(Error, jsonFile::read(tree.path("folder")));
        QVERIFY_THROWS_EXCEPTION(Error, jsonFile::read(tree.path("dangling")));
    }

    void settingAsideNeverReplacesAnything()
    {
        const TestTree tree{{"a", "1"}, {"taken", "2"}};
        QVERIFY(!jsonFile::setAside(tree.path("a"), tree.path("taken")));
        QVERIFY(jsonFile::setAside(tree.path("a"), tree.path("free")));
        QCOMPARE(tree.snapshot(), (test::TreeSnapshot{{u"free"_s, "1"}, {u"taken"_s, "2"}}));
    }
};

MOORIX_TEST(JsonFileTest)
#include "JsonFileTest.moc"
