// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/RecoveryCopies.h"
#include "files/NativePath.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFileInfo>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// What is kept of texts that were not saved.
class RecoveryCopiesTest final : public QObject
{
    Q_OBJECT

    static RecoveryRecord record()
    {
        return {NativePath::text("/etc/ho\xFFsts"),
                u"web: /etc/hosts"_s,
                TextEncoding::latin1,
                {3, std::nullopt, QByteArray(32, 'x')}};
    }
    static QStringList foldersIn(const TestTree &tree)
    {
        return QDir(tree.path("unsaved")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

private slots:
    void whatAnEndedRunLeftIsFoundByOneRunOnly()
    {
        const TestTree tree({});
        const QUuid id = QUuid::createUuid();
        {
            RecoveryCopies copies(tree.path("unsaved"));
            copies.write(id, 1, record(), "gr\xC3\xBC\xC3\x9F\r\n");
            // Of a run that goes on.
            QVERIFY(RecoveryCopies(tree.path("unsaved")).leftOver().isEmpty());
        }
        const QFile::Permissions others = QFile::ReadGroup | QFile::ReadOther;
        QVERIFY(!(QFile::permissions(tree.path("unsaved/%1/text"_L1.arg(foldersIn(tree).value(0)))) & others));
        RecoveryCopies next(tree.path("unsaved"));
        QVERIFY(next.covers(record().path) && !next.covers(u"/etc"_s));
        const auto found = next.leftOver();
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.constFirst().id, id);
        QCOMPARE(found.constFirst().record, record());
        QCOMPARE(next.text(id), "gr\xC3\xBC\xC3\x9F\r\n");
        QVERIFY(RecoveryCopies(tree.path("unsaved")).leftOver().isEmpty());
        next.remove(id, 1);
        QVERIFY(!next.covers(record().path));
        QCOMPARE(foldersIn(tree), QStringList());
    }

    void whatComesLateDoesNotBringBackWhatWasRemoved()
    {
        const TestTree tree({});
        RecoveryCopies copies(tree.path("unsaved"));
        const QUuid id = QUuid::createUuid();
        copies.write(id, 2, record(), "new");
        copies.write(id, 1, record(), "old");
        QCOMPARE(copies.text(id), "new");
        copies.remove(id, 4);
        copies.write(id, 3, record(), "late");
        QCOMPARE(foldersIn(tree), QStringList());
        const QUuid never = QUuid::createUuid();
        copies.remove(never, 2);
        copies.write(never, 1, record(), "late");
        QCOMPARE(foldersIn(tree), QStringList());
        copies.write(id, 5, record(), "again");
        QCOMPARE(copies.text(id), "again");
    }

    void textOfAKilledProgramIsFound()
    {
        const TestTree tree({});
        const QUuid id = QUuid::createUuid();
        const pid_t child = ::fork();
        if (child == 0) {
            RecoveryCopies copies(tree.path("unsaved"));
            copies.write(id, 1, record(), "typed");
            ::raise(SIGKILL);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        RecoveryCopies copies(tree.path("unsaved"));
        QCOMPARE(copies.leftOver().size(), 1);
        QCOMPARE(copies.text(id), "typed");
    }

    void damagedRecordLosesNoText()
    {
        const TestTree tree({});
        const QUuid id = QUuid::createUuid();
        RecoveryCopies(tree.path("unsaved")).write(id, 1, record(), "text");
        const QString folder = u"unsaved/"_s + foldersIn(tree).value(0);
        tree.write(folder + u"/record.json"_s, "{");
        RecoveryCopies copies(tree.path("unsaved"));
        QVERIFY(copies.leftOver().isEmpty());
        QCOMPARE(tree.read(folder + u"/text"_s), "text");
    }
};

MOORIX_TEST(RecoveryCopiesTest)
#include "RecoveryCopiesTest.moc"
