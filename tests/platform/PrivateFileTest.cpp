// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFile.h"

#include "platform/PrivateFolder.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QFileInfo>

using namespace moorix;
using namespace Qt::StringLiterals;
using moorix::test::TestTree;

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
            QCOMPARE(QFile::permissions(path) & 0x7077, QFile::ReadOwner | QFile::WriteOwner);
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
        QCOMPARE(QFile::permissions(tree.path("askpass")) & 0x7077, QFile::Permissions(0x7000));
    }

    void onlyTheUserCanEnterAFolderAndItGoesWithReadOnlyFilesInIt()
    {
        QString path;
        {
            PrivateFolder first(u"moorix-test-"_s);
            const PrivateFolder folder(std::move(first));
            path = folder.path();
            QCOMPARE(QFile::permissions(path) & 0x7077, QFile::Permissions(0x7000));
            test::putFile(path + u"/inside"_s, "secret");
            QFile::setPermissions(path + u"/inside"_s, QFile::ReadOwner);
        }
        QVERIFY(!QFileInfo::exists(path));
        const QString message = test::messageOf([] { PrivateFolder(u"moorix-no-such-folder/moorix-"_s); });
        QVERIFY2(message.contains(u"/moorix-no-such-folder/moorix-"), qPrintable(message));
    }
};

MOORIX_TEST(PrivateFileTest)
#include "PrivateFileTest.moc"
