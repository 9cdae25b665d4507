// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFile.h"

#include "base/Error.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QFileInfo>

#include <sys/stat.h>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

namespace {

unsigned modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777U : 0;
}

} // namespace

class PrivateFileTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyTheUserCanReadItAndItGoesWithTheObject()
    {
        QString path;
        {
            const PrivateFile file(u"moorix-test-"_s, "secret", u".key"_s);
            path = file.path();
            QCOMPARE(modeOf(path), 0600U);
            QCOMPARE(QFileInfo(path).size(), 6);
            QVERIFY(QFileInfo(path).fileName().startsWith(u"moorix-test-"_s) && path.endsWith(u".key"));
        }
        QVERIFY(!QFileInfo::exists(path));
    }

    void ownershipMovesWithTheObject()
    {
        PrivateFile first(u"moorix-test-"_s);
        const QString firstPath = first.path();
        QString secondPath;
        {
            PrivateFile second(u"moorix-test-"_s);
            secondPath = second.path();
            first = std::move(second);
            QVERIFY(!QFileInfo::exists(firstPath));
            const PrivateFile third(std::move(first));
            QCOMPARE(third.path(), secondPath);
        }
        QVERIFY(!QFileInfo::exists(secondPath));
    }

    void anExistingFileOrLinkIsNeverWrittenTo()
    {
        const TestTree tree{{"taken", "old"}};
        tree.link("trap", tree.path("elsewhere"));
        const auto before = tree.snapshot();
        for (const char *name : {"taken", "trap", "no folder/new"})
            QVERIFY_THROWS_EXCEPTION(Error, writeNewPrivateFile(tree.path(name), "secret", 0600));
        QCOMPARE(tree.snapshot(), before);
        writeNewPrivateFile(tree.path("askpass"), "#!/bin/sh\n", 0700);
        QCOMPARE(modeOf(tree.path("askpass")), 0700U);
    }
};

MOORIX_TEST(PrivateFileTest)
#include "PrivateFileTest.moc"
