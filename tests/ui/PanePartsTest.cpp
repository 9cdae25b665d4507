// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of a pane that can be tried without one.
#include "support/ScriptedFileService.h"
#include "support/TestMain.h"
#include "ui/pane/FolderTally.h"
#include "ui/pane/PermissionsEditor.h"
#include "ui/pane/QuickLookContent.h"
#include "ui/pane/TypeAhead.h"

#include "base/Error.h"

#include <QBuffer>
#include <QCheckBox>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace moorix;
using moorix::test::ScriptedFileService;
using Kind = QuickLookContent::Kind;

class PanePartsTest final : public QObject
{
    Q_OBJECT

private slots:
    void typeAheadFindsTheRow()
    {
        const QStringList names{u"aa"_s, u"alpha"_s, u"beta"_s, u"Bravo"_s, u"cc"_s};
        const std::tuple<const char *, std::chrono::milliseconds, const char *> rows[] = {
            {"BR", 10ms, "Bravo"}, // prefix, whatever the case
            {"bc", 1500ms, "cc"},  // after a pause a new word
            {"bb", 10ms, "Bravo"}, // one letter again walks on
            {"bbb", 10ms, "beta"}, // and starts over
            {"ph", 10ms, "alpha"}, // inside a name when none begins so
            {"zz", 10ms, "nothing"}};
        for (const auto &[typed, pause, expected] : rows) {
            TypeAhead typeAhead;
            int current = 0;
            std::optional<int> found;
            std::chrono::milliseconds now = 5s;
            for (const QChar letter : QString::fromLatin1(typed)) {
                now += pause;
                found = typeAhead.type(
                    letter, now, {int(names.size()), current, [&](int at) -> const QString & { return names.at(at); }});
                current = found.value_or(current);
            }
            QCOMPARE(names.value(found.value_or(-1), u"nothing"_s), QLatin1String(expected));
        }
        QVERIFY(!TypeAhead().type(u"a"_s, 1s, {}));
    }

    void quickLookTellsTextsFromOtherBytes()
    {
        const std::tuple<QByteArray, Kind, const char *> rows[] = {
            {"gr\xc3\xbc\xc3\x9f", Kind::text, "grüß"},
            {"gr\xfc\xdf", Kind::text, "grüß"}, // no UTF-8, so Latin-1
            {QByteArray("\xff\xfe"
                        "a\0b\0",
                        6),
             Kind::text, "ab"}, // UTF-16 with a mark
            {QByteArray("ab\0\xff", 4), Kind::hex, "00000000 61 62 00 ff ab··"},
            {"", Kind::message, "The file is empty."}};
        for (const auto &[bytes, kind, text] : rows) {
            const QuickLookContent content = QuickLookContents::fromBytes(bytes);
            QCOMPARE(content.text.simplified(), QString::fromUtf8(text));
            QCOMPARE(content.kind, kind);
        }
    }

    void quickLookCutsALongTextBetweenCharacters()
    {
        // An odd first byte puts the limit into the middle of a character.
        const QByteArray bytes = "a" + QByteArray("\xc3\xbc").repeated(QuickLookContents::maxTextBytes / 2 + 10);
        const QuickLookContent content = QuickLookContents::fromBytes(bytes);
        QCOMPARE(content.text.size(), QuickLookContents::maxTextBytes / 2);
        QCOMPARE(content.text.back(), u'ü');
        QVERIFY(!content.remark.isEmpty());
    }

    void quickLookShowsPicturesWithTheirSize()
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QVERIFY(QImage(3, 2, QImage::Format_RGB32).save(&buffer, "PNG"));
        const QuickLookContent content = QuickLookContents::fromBytes(bytes);
        QCOMPARE(content.kind, Kind::image);
        QCOMPARE(content.image.size(), QSize(3, 2));
        QCOMPARE(content.remark, u"3 × 2 pixels"_s);
    }

    void quickLookRefusesWhatIsTooLargeWithoutReadingIt()
    {
        ScriptedFileService files{{"/large", "0123456789"}};
        files.failOn(u"/large"_s, u"It was read."_s);
        FileItem item;
        item.name = u"large"_s;
        item.path = u"/large"_s;
        item.size = 10;
        const QuickLookContent content = QuickLookContents::load(files, item, 9, {});
        QCOMPARE(content.kind, Kind::message);
        QVERIFY2(content.text.contains(u"10 bytes"_s), qPrintable(content.text));
    }

    void tallyCountsEverythingBelowButFollowsNoLink()
    {
        ScriptedFileService files{
            {"/top/a", "123"}, {"/top/.hidden", "4"}, {"/top/deep/er/b", "56"}, {"/top/locked/c"}};
        files.putLink(u"/top/deep/loop"_s, u"/top"_s);
        files.failOn(u"/top/locked"_s, u"Permission denied."_s);
        FolderTally tally;
        countInto(tally, files, files.list(u"/"_s, HiddenFiles::included, {}), {});
        QCOMPARE(tally.folders, 4);
        QCOMPARE(tally.files, 4);
        QVERIFY(tally.bytes >= 6);
        QCOMPARE(tally.unreadable, 1);
    }

    void permissionBoxesAndNumberSayTheSame()
    {
        PermissionsEditor editor;
        auto *number = editor.findChild<QLineEdit *>();
        const auto box = [&](int i) { return editor.findChild<QCheckBox *>(u"permission%1"_s.arg(i)); };
        editor.setPermissions(u"rwxr-x---"_s);
        QCOMPARE(number->text(), u"750"_s);
        box(8)->click();
        QCOMPARE(editor.octal().value_or(QString()), u"751"_s);
        number->setText(u"4640"_s);
        QVERIFY(box(0)->isChecked() && box(1)->isChecked() && !box(2)->isChecked() && !box(8)->isChecked());
        box(2)->click();
        QCOMPARE(editor.octal().value_or(QString()), u"4740"_s);
        number->setText(u"64"_s);
        QVERIFY(!editor.octal());
        editor.setPermissions(std::nullopt);
        QVERIFY(!editor.octal());
    }
};

MOORIX_TEST(PanePartsTest)
#include "PanePartsTest.moc"
