// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TextDocument.h"
#include "files/LocalFileService.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

#include <unistd.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// A file that is open.
struct Open
{
    TestTree tree;
    std::shared_ptr<LocalFileService> disk = std::make_shared<LocalFileService>();
    std::shared_ptr<RecoveryCopies> recovery;
    std::unique_ptr<TextDocument> document;
    std::unique_ptr<QSignalSpy> saved;
    std::unique_ptr<QSignalSpy> refused;
    std::unique_ptr<QSignalSpy> failed;

    explicit Open(const QByteArray &content)
        : tree({{"a.txt", content}})
        , recovery(std::make_shared<RecoveryCopies>(tree.path("unsaved")))
    {
        const auto reading = textFile::load(*disk, tree.path("a.txt"), std::nullopt, neverStops);
        document = std::make_unique<TextDocument>(TextDocument::Environment{disk, recovery}, tree.path("a.txt"),
                                                  QString(), reading.loaded, WriteProtection{});
        saved = std::make_unique<QSignalSpy>(document.get(), &TextDocument::saved);
        refused = std::make_unique<QSignalSpy>(document.get(), &TextDocument::saveRefused);
        failed = std::make_unique<QSignalSpy>(document.get(), &TextDocument::saveFailed);
    }
    QStringList kept() const { return QDir(tree.path("unsaved")).entryList(QDir::Dirs | QDir::NoDotAndDotDot); }
};

} // namespace

/// What becomes of a file that is open in the editor.
class TextDocumentTest final : public QObject
{
    Q_OBJECT

private slots:
    void eachSaveIsWhatTheNextOneExpectsToFind()
    {
        const Open open("gr\xFC\xDF");
        for (const char *text : {"eins", "zw\xC3\xB6lf", ""}) {
            open.saved->clear();
            open.document->save(text, TextDocument::Guard::known);
            QTRY_COMPARE(open.saved->size(), 1);
            QCOMPARE(QString::fromLatin1(open.tree.read("a.txt")), QString::fromUtf8(text));
        }
        QCOMPARE(open.refused->size() + open.failed->size(), 0);
        // What is not replaced in one step is kept before; who has the text forgets it.
        QCOMPARE(open.kept(), QStringList());
        const QByteArray names[] = {open.tree.path("a.txt").toUtf8(), open.tree.path("b.txt").toUtf8()};
        QCOMPARE(::link(names[0].constData(), names[1].constData()), 0);
        open.document->save("both", TextDocument::Guard::known);
        QTRY_COMPARE(open.saved->size(), 2);
        QCOMPARE(open.tree.read("b.txt"), "both");
        QCOMPARE(open.kept().size(), 1);
    }

    void savingElsewhereMovesTheDocumentThere()
    {
        const Open open("text");
        open.document->saveAs("other", open.tree.path("b.txt"));
        QTRY_COMPARE(open.saved->size(), 1);
        QCOMPARE(open.document->path(), open.tree.path("b.txt"));
        open.document->save("\xEF\xBB\xBFmore", TextDocument::Guard::known);
        QTRY_COMPARE(open.saved->size(), 2);
        QCOMPARE(open.tree.read("a.txt"), "text");
        QCOMPARE(open.tree.read("b.txt"), "\xEF\xBB\xBFmore");
        // What cannot be written changes nothing, the document's place included.
        open.document->saveAs("lost", open.tree.path("missing/c.txt"));
        QTRY_COMPARE(open.failed->size(), 1);
        QCOMPARE(open.document->path(), open.tree.path("b.txt"));
        QVERIFY(!open.tree.exists("missing"));
    }

    void whatOthersWriteIsNoticedHoweverTheyDo()
    {
        const Open open("text");
        using textFile::Standing;
        open.tree.write("a.txt", "other text");
        QTRY_COMPARE(open.document->standing(), Standing::changed);
        // Another file in its place, which holds what was read.
        open.tree.write("new", "text");
        QVERIFY(QFile::remove(open.tree.path("a.txt")));
        QTRY_COMPARE(open.document->standing(), Standing::gone);
        QVERIFY(QFile::rename(open.tree.path("new"), open.tree.path("a.txt")));
        QTRY_COMPARE(open.document->standing(), Standing::same);
        open.tree.write("a.txt", "once more");
        QTRY_COMPARE(open.document->standing(), Standing::changed);
        open.document->save("mine", TextDocument::Guard::known);
        QTRY_COMPARE(open.refused->size(), 1);
        QCOMPARE(open.tree.read("a.txt"), "once more");
        open.document->save("mine", TextDocument::Guard::anything);
        QTRY_COMPARE(open.saved->size(), 1);
        QCOMPARE(open.tree.read("a.txt"), "mine");
        QCOMPARE(open.document->standing(), Standing::same);
    }

    void whatIsForgottenAtOnceIsNotKept()
    {
        const Open open("text");
        open.document->keep("typed");
        QTRY_COMPARE(open.kept().size(), 1);
        for (int i = 0; i < 20; ++i) {
            open.document->keep("typed more");
            open.document->forget();
        }
        QTRY_COMPARE(open.kept(), QStringList());
        QCOMPARE(open.document->keepNow("the end"), QString());
        QCOMPARE(open.kept().size(), 1);
        QVERIFY(open.recovery->covers(open.document->path()));
    }

    void fileIsReadAgainInAnEncodingOfChoice()
    {
        const Open open("gr\xC3\xBC\xC3\x9F");
        QSignalSpy reloaded(open.document.get(), &TextDocument::reloaded);
        QSignalSpy problem(open.document.get(), &TextDocument::reloadFailed);
        open.document->reload(TextEncoding::latin1);
        QTRY_COMPARE(reloaded.size(), 1);
        QCOMPARE(open.document->encoding(), TextEncoding::latin1);
        // The same bytes, whatever they were taken for.
        open.document->save(u"grÃ¼Ã\u009F"_s.toUtf8(), TextDocument::Guard::known);
        QTRY_COMPARE(open.saved->size(), 1);
        QCOMPARE(open.tree.read("a.txt"), "gr\xC3\xBC\xC3\x9F");
        open.document->reload(TextEncoding::utf32BigEndian);
        QTRY_COMPARE(problem.size(), 1);
        QCOMPARE(problem.constFirst().constFirst().toString(), u"“a.txt” is not written in UTF-32 BE."_s);
        QCOMPARE(open.document->encoding(), TextEncoding::latin1);
    }
};

MOORIX_TEST(TextDocumentTest)
#include "TextDocumentTest.moc"
