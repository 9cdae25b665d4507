// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/RecoveryCopies.h"
#include "files/NativePath.h"
#include "support/Shorthand.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFileInfo>

#include <csignal>

#include <sys/resource.h>
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
            QVERIFY(RecoveryCopies(tree.path("unsaved")).leftOver().found.isEmpty());
        }
        const QFile::Permissions others = QFile::ReadGroup | QFile::ReadOther;
        QVERIFY(!(QFile::permissions(tree.path("unsaved/%1/text"_L1.arg(foldersIn(tree).value(0)))) & others));
        RecoveryCopies next(tree.path("unsaved"));
        QVERIFY(next.covers(record().path) && !next.covers(u"/etc"_s));
        const auto found = next.leftOver().found;
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.constFirst().id, id);
        QCOMPARE(found.constFirst().record, record());
        QCOMPARE(next.text(id), "gr\xC3\xBC\xC3\x9F\r\n");
        QVERIFY(RecoveryCopies(tree.path("unsaved")).leftOver().found.isEmpty());
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
        QCOMPARE(copies.leftOver().found.size(), 1);
        QCOMPARE(copies.text(id), "typed");
    }

    void damagedRecordLosesNoText()
    {
        const TestTree tree({});
        const QUuid id = QUuid::createUuid();
        RecoveryCopies(tree.path("unsaved")).write(id, 1, record(), "text");
        const QString folder = u"unsaved/"_s + foldersIn(tree).value(0);
        tree.write(folder + u"/record.json"_s, "{");
        for (const bool hasRecord : {true, false}) {
            if (!hasRecord)
                QVERIFY(QFile::remove(tree.path(folder + u"/record.json"_s)));
            RecoveryCopies copies(tree.path("unsaved"));
            const auto leftOver = copies.leftOver();
            QVERIFY(leftOver.found.isEmpty());
            QCOMPARE(leftOver.problems.size(), 1);
            QVERIFY2(leftOver.problems.constFirst().contains(tree.path(folder + u"/text"_s)),
                     qPrintable(leftOver.problems.constFirst()));
            QCOMPARE(tree.read(folder + u"/text"_s), "text");
        }
    }

    void killBetweenRecordAndTextLosesNothing()
    {
        for (const bool isFirst : {true, false}) {
            const TestTree tree({});
            const QUuid id = QUuid::createUuid();
            const pid_t child = ::fork();
            if (child == 0) {
                RecoveryCopies copies(tree.path("unsaved"));
                if (!isFirst)
                    copies.write(id, 1, record(), "typed");
                // The system ends the program when it writes more into a file: the record fits, the text does not.
                const rlimit limit{10'000, 10'000};
                ::setrlimit(RLIMIT_FSIZE, &limit);
                RecoveryRecord next = record();
                next.encoding = TextEncoding::utf8;
                copies.write(id, 2, next, QByteArray(20'000, 'x'));
                ::_exit(0);
            }
            int status = 0;
            QCOMPARE(::waitpid(child, &status, 0), child);
            QVERIFY(WIFSIGNALED(status));
            QCOMPARE(foldersIn(tree).size(), 1);
            QVERIFY(tree.read(u"unsaved/%1/record.json"_s.arg(foldersIn(tree).value(0))).contains("UTF-8"));
            RecoveryCopies copies(tree.path("unsaved"));
            const auto leftOver = copies.leftOver();
            QCOMPARE(leftOver.problems, QStringList());
            QCOMPARE(leftOver.found.size(), isFirst ? 0 : 1);
            QCOMPARE(foldersIn(tree).size(), isFirst ? 0 : 1);
            if (!isFirst)
                QCOMPARE(copies.text(id), "typed");
        }
    }
};

MOORIX_TEST(RecoveryCopiesTest)
#include "RecoveryCopiesTest.moc"
