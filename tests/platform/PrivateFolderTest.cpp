// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PrivateFolder.h"

#include "base/Error.h"
#include "support/TestMain.h"

#include <QFileInfo>

#include <sys/stat.h>

using namespace moorix;
using namespace Qt::StringLiterals;

class PrivateFolderTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyTheUserCanEnterItAndItGoesWithReadOnlyFilesInIt()
    {
        QString path;
        {
            PrivateFolder first(u"moorix-test-"_s);
            const PrivateFolder folder(std::move(first));
            path = folder.path();
            struct stat status = {};
            QCOMPARE(::stat(QFile::encodeName(path).constData(), &status), 0);
            QCOMPARE(status.st_mode & 07777U, 0700U);
            QFile file(path + u"/inside"_s);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.setPermissions(QFile::ReadOwner);
        }
        QVERIFY(!QFileInfo::exists(path));
    }

    void folderThatCannotBeMadeIsNamed()
    {
        QString message;
        try {
            const PrivateFolder folder(u"moorix-no-such-folder/moorix-"_s);
        } catch (const Error &error) {
            message = error.message();
        }
        QVERIFY2(message.contains(u"/moorix-no-such-folder/moorix-"), qPrintable(message));
    }
};

MOORIX_TEST(PrivateFolderTest)
#include "PrivateFolderTest.moc"
