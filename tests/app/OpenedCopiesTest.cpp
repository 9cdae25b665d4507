// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/OpenedCopies.h"

#include "support/FolderServer.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

class OpenedCopiesTest final : public QObject
{
    Q_OBJECT

    QByteArray m_temporary;

    static FileItem itemAt(const TestTree &tree, const char *path)
    {
        return *LocalFileService().stat(tree.path(path), {});
    }

    static QStringList leftIn(const TestTree &tree)
    {
        return QDir(tree.path("tmp")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private slots:
    void init() { m_temporary = qgetenv("TMPDIR"); }
    void cleanup() { m_temporary.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_temporary); }

    void copiesOfTheSameNameLiveApartReadOnlyAndGoAtTheEnd()
    {
        const TestTree tree{{"tmp/", ""}, {"a/report.txt", "first"}, {"b/report.txt", "second"}};
        qputenv("TMPDIR", tree.path("tmp").toUtf8());
        QStringList paths;
        {
            OpenedCopies copies;
            std::vector<Job> jobs;
            for (const char *file : {"a/report.txt", "b/report.txt"}) {
                jobs.push_back(copies.fetch(
                    std::make_shared<FolderServer>(), itemAt(tree, file), std::make_shared<std::atomic<qint64>>(0),
                    [&paths](const QString &path) { paths << path; }, [](const Error &) {}));
            }
            QTRY_COMPARE(paths.size(), 2);
            QSet<QByteArray> contents;
            for (const QString &path : std::as_const(paths)) {
                QCOMPARE(QFileInfo(path).fileName(), u"report.txt"_s);
                QCOMPARE(QFile::permissions(path) & (QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther),
                         QFile::Permissions());
                QFile file(path);
                QVERIFY(file.open(QIODevice::ReadOnly));
                contents << file.readAll();
            }
            QCOMPARE(contents, (QSet<QByteArray>{"first", "second"}));
        }
        QCOMPARE(leftIn(tree), QStringList());
    }

    void nothingStaysOfACopyThatFailedOrWasGivenUp_data()
    {
        QTest::addColumn<bool>("isGivenUp");
        QTest::newRow("failed") << false;
        QTest::newRow("given up") << true;
    }
    void nothingStaysOfACopyThatFailedOrWasGivenUp()
    {
        QFETCH(const bool, isGivenUp);
        const TestTree tree{{"tmp/", ""}, {"a/report.txt", "first"}};
        qputenv("TMPDIR", tree.path("tmp").toUtf8());
        const auto server = std::make_shared<FolderServer>();
        const auto received = std::make_shared<std::atomic<qint64>>(0);
        std::atomic<bool> mayGoOn = false;
        server->halfway = [&mayGoOn, isGivenUp](const QString &) {
            while (!mayGoOn)
                QThread::yieldCurrentThread();
            if (!isGivenUp)
                throw FileServiceError::operationFailed(u"The line is dead."_s);
        };
        OpenedCopies copies;
        QString outcome;
        Job job = copies.fetch(
            server, itemAt(tree, "a/report.txt"), received, [&outcome](const QString &path) { outcome = path; },
            [&outcome](const Error &error) { outcome = error.message(); });
        QTRY_COMPARE(received->load(), 2);
        QCOMPARE(leftIn(tree).size(), 1);
        if (isGivenUp)
            job.cancel();
        mayGoOn = true;
        QTRY_COMPARE(leftIn(tree), QStringList());
        QTRY_COMPARE(outcome, isGivenUp ? QString() : u"The line is dead."_s);
    }
};

MOORIX_TEST(OpenedCopiesTest)
#include "OpenedCopiesTest.moc"
