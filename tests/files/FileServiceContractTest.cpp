// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FileServiceContract.h"

#include "files/LocalFileService.h"
#include "support/MemoryFileService.h"
#include "support/TestMain.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace moorix;
using namespace Qt::StringLiterals;
using namespace moorix::test;

class FileServiceContractTest : public QObject
{
    Q_OBJECT

private slots:
    void localDiskKeepsTheContract_data() { FileServiceContract::addRows(); }
    void localDiskKeepsTheContract()
    {
        const QTemporaryDir root;
        LocalFileService service;
        FileServiceContract::runRow({service, root.path(), [](const QString &target, const QString &link) {
                                         QVERIFY(QFile::link(target, link));
                                     }});
    }

    void memoryTreeKeepsTheContract_data() { FileServiceContract::addRows(); }
    void memoryTreeKeepsTheContract()
    {
        MemoryFileService service{{"/root/"}};
        FileServiceContract::runRow({service, u"/root"_s, [&service](const QString &target, const QString &link) {
                                         service.putLink(link, target);
                                     }});
    }
};

MOORIX_TEST(FileServiceContractTest)
#include "FileServiceContractTest.moc"
