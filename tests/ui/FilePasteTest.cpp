// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "transfers/TransferEngine.h"

#include <QClipboard>
#include <QFile>
#include <QMimeData>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

const auto gnomeType = u"x-special/gnome-copied-files"_s;

void offer(const QByteArray &urls, const QByteArray &action)
{
    auto *data = new QMimeData;
    data->setData(u"text/uri-list"_s, urls);
    data->setData(gnomeType, action + '\n' + urls);
    QApplication::clipboard()->setMimeData(data);
}

bool holdsFiles()
{
    const QMimeData *data = QApplication::clipboard()->mimeData();
    return data && data->hasUrls();
}

} // namespace

/// Files that are cut, copied and pasted, also between programs.
class FilePasteTest final : public QObject
{
    Q_OBJECT

private slots:
    void textThatIsCopiedMeanwhileKeepsCutFilesWhereTheyAre()
    {
        WindowBench bench({{"left/a.txt", "a"}});
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_X, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->mimeData()->data(gnomeType),
                 "cut\nfile://" + bench.home.path("left/a.txt").toUtf8());
        QApplication::clipboard()->setText(u"a word"_s);
        QVERIFY(!bench.model->clipboard().content());
        bench.key(Qt::Key_Tab);
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(bench.model->transfers().transfers().size(), 0);
        QCOMPARE(bench.find<QLabel>("statusMessage")->text(), u"The clipboard holds no files."_s);
    }

    void whatAnotherProgramHasCutMovesWhateverItsNameIs()
    {
        WindowBench bench({{"elsewhere/", ""}});
        LocalFileService disk;
        const QString name = NativePath::text("caf\xE9");
        disk.write("text", bench.home.path("elsewhere/") + name, {});
        const QByteArray folder = "file://localhost" + bench.home.path("elsewhere/").toUtf8();
        offer("https://example.org/page\r\n" + folder + "caf%E9\r\n" + folder + "gone\r\n", "cut");
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QTRY_VERIFY(disk.stat(bench.home.path("left/") + name, {}));
        QTRY_VERIFY(!disk.stat(bench.home.path("elsewhere/") + name, {}));
        QCOMPARE(bench.find("questionBar")->findChild<QLabel *>()->text(), u"No longer there: 1 of 2 files."_s);
        QTRY_VERIFY(!holdsFiles());
        offer("https://example.org/page", "copy");
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(bench.model->transfers().transfers().size(), 1);
    }

    void whatIsNotMovedStaysCutAndWhatIsCopiedMeanwhileStaysOnTheClipboard()
    {
        WindowBench bench({{"left/a.txt", "a"}, {"left/b.txt", "b"}, {"right/a.txt", "other"}});
        bench.model->settings().conflictPolicyRaw.set(u"skip"_s);
        const auto pasteThere = [&bench] {
            bench.activateList(Side::right);
            bench.key(Qt::Key_V, Qt::ControlModifier);
        };
        bench.pane(Side::left)->setSelection({bench.home.path("left/a.txt"), bench.home.path("left/b.txt")});
        bench.key(Qt::Key_X, Qt::ControlModifier);
        pasteThere();
        // One move at a time.
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(bench.model->transfers().transfers().size(), 1);
        QTRY_COMPARE(bench.home.read("right/b.txt"), "b");
        QTRY_COMPARE(QApplication::clipboard()->mimeData()->data(gnomeType),
                     "cut\nfile://" + bench.home.path("left/a.txt").toUtf8());
        QFile::remove(bench.home.path("right/a.txt"));
        pasteThere();
        QTRY_COMPARE(bench.home.read("right/a.txt"), "a");
        QTRY_VERIFY(!holdsFiles() && !bench.model->clipboard().content());
        bench.home.write("elsewhere/c", "c");
        offer("file://" + bench.home.path("elsewhere/c").toUtf8(), "cut");
        pasteThere();
        QApplication::clipboard()->setText(u"a word"_s);
        QTRY_VERIFY(!bench.home.exists("elsewhere/c"));
        QCOMPARE(QApplication::clipboard()->text(), u"a word"_s);
    }

    void copyInPlaceGetsANameOfItsOwnAndAllElseFollowsTheSetting()
    {
        WindowBench bench({{"left/a.txt", "a"}, {"left/dir/b", "b"}, {"elsewhere/a.txt", "other"}});
        bench.pane(Side::left)->setSelection({bench.home.path("left/a.txt"), bench.home.path("left/dir")});
        bench.key(Qt::Key_C, Qt::ControlModifier);
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(bench.home.read("left/a 2.txt"), "a");
        QTRY_COMPARE(bench.home.read("left/dir 2/b"), "b");
        bench.model->settings().conflictPolicyRaw.set(u"skip"_s);
        offer("file://" + bench.home.path("elsewhere/a.txt").toUtf8(), "copy");
        bench.key(Qt::Key_V, Qt::ControlModifier);
        QTRY_COMPARE(bench.model->transfers().transfers().last().skipped, qint64(1));
        QCOMPARE(bench.home.read("left/a.txt"), "a");
    }
};

MOORIX_TEST(FilePasteTest)
#include "FilePasteTest.moc"
