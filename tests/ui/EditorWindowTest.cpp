// SPDX-License-Identifier: GPL-3.0-or-later
#include "EditorBench.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QUrl>

#include <cmath>

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

/// Text files of this computer in the editor.
class EditorWindowTest final : public QObject
{
    Q_OBJECT

    QStringList m_opened;

    /// The locks of one program are gone with it, those within one only with the last of its work.
    static void restartAfterCrash(EditorBench &bench)
    {
        const std::weak_ptr<RecoveryCopies> copies = bench.model->recoveryCopies();
        bench.stop();
        QTRY_VERIFY(copies.expired());
        bench.start();
    }

private slots:
    void openUrl(const QUrl &url) { m_opened << url.toLocalFile(); }

    void whatIsTypedIsSavedInTheFilesOwnWay()
    {
        const EditorBench bench({{"left/real.txt", "gr\xFC\xDF\r\n\tzwei\r\n"}});
        QVERIFY(QFile::link(bench.home.path("left/real.txt"), bench.home.path("left/link.txt")));
        QCOMPARE(::chmod(QFile::encodeName(bench.home.path("left/real.txt")).constData(), 0640), 0);
        QTRY_COMPARE(bench.pane(Side::left)->displayedCount(), 2);
        bench.open("link.txt");
        QCOMPARE(bench.button("editorEncoding"), u"Latin-1"_s);
        QCOMPARE(bench.button("editorLineEnds"), u"CRLF"_s);
        QCOMPARE(bench.button("editorIndentation"), u"Tabs: 4"_s);
        bench.key(Qt::Key_End, Qt::ControlModifier);
        bench.key(Qt::Key_Up);
        bench.key(Qt::Key_End);
        bench.key(Qt::Key_Return);
        bench.type("drei");
        bench.save();
        QTRY_COMPARE(bench.home.read("left/real.txt"), "gr\xFC\xDF\r\n\tzwei\r\n\tdrei\r\n");
        QVERIFY(QFileInfo(bench.home.path("left/link.txt")).isSymLink());
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(bench.home.path("left/real.txt")).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777, 0640U);
        QTRY_VERIFY(!bench.view()->isModified());
        QTRY_COMPARE(bench.unsaved(), QStringList());
        // A character that Latin-1 has no byte for.
        bench.view()->insert(u"→"_s);
        bench.save();
        QTRY_VERIFY(bench.label("messageBarText").contains(u"Latin-1 has no “→”"_s));
        QVERIFY(!bench.home.read("left/real.txt").contains('?'));
        bench.click(bench.choice("Save in UTF-8"));
        QTRY_VERIFY(!bench.view()->isModified());
        QVERIFY(bench.home.read("left/real.txt").contains("\xE2\x86\x92"));
        bench.key(Qt::Key_Escape);
        QTRY_COMPARE(QApplication::focusWidget(), bench.list(Side::left));
    }

    void fileThatChangesOnTheDiskIsNotReplacedUnasked()
    {
        const EditorBench bench({{"left/a.txt", "old\n"}});
        bench.open("a.txt");
        bench.type("mine ");
        bench.home.write("left/a.txt", "theirs\n");
        QTRY_VERIFY(bench.label("messageBarText").contains(u"was changed by another program, and here, too"_s));
        bench.save();
        QTRY_VERIFY(bench.choice("Compare"));
        bench.click(bench.choice("Compare"));
        QTRY_VERIFY(bench.find("diffView"));
        bench.key(Qt::Key_Right, Qt::AltModifier);
        QVERIFY(bench.label("diffRemark").startsWith(u"Your text is changed in the editor only."_s));
        bench.key(Qt::Key_Escape);
        QTRY_COMPARE(QApplication::focusWidget(), bench.view());
        QCOMPARE(bench.text(), "mine old\n");
        QCOMPARE(bench.home.read("left/a.txt"), "theirs\n");
        bench.click(bench.choice("Keep mine"));
        QTRY_COMPARE(bench.home.read("left/a.txt"), "mine old\n");
        QTRY_VERIFY(!bench.view()->isModified());

        bench.home.write("left/a.txt", "theirs again\n");
        QTRY_VERIFY(bench.choice("Reload"));
        bench.click(bench.choice("Reload"));
        QTRY_COMPARE(bench.text(), "theirs again\n");
        QVERIFY(QFile::remove(bench.home.path("left/a.txt")));
        QTRY_VERIFY(bench.choice("Save it again"));
        bench.click(bench.choice("Save it again"));
        QTRY_COMPARE(bench.home.read("left/a.txt"), "theirs again\n");
        // What is only compared is nothing unsaved.
        bench.home.write("left/a.txt", "theirs\n");
        QTRY_VERIFY(bench.choice("Compare"));
        bench.click(bench.choice("Compare"));
        QTRY_VERIFY(bench.find("diffView"));
        QCOMPARE(bench.unsaved().size(), 1);
        bench.key(Qt::Key_Escape);
        QTRY_COMPARE(QApplication::focusWidget(), bench.view());
        bench.key(Qt::Key_W, Qt::ControlModifier);
        QTRY_COMPARE(bench.unsaved(), QStringList());
    }

    void unsavedTextOutlivesACrashAndAnAskedQuit()
    {
        EditorBench bench({{"left/a.txt", "old\n"}});
        bench.open("a.txt");
        bench.type("typed ");
        QTRY_COMPARE(bench.unsaved().size(), 1);
        // Of a program that is killed nothing is closed.
        restartAfterCrash(bench);
        QTRY_VERIFY(bench.find("unsavedTextBar"));
        bench.click(bench.choice("Show them"));
        QTRY_COMPARE(bench.text(), "typed old\n");
        QCOMPARE(bench.home.read("left/a.txt"), "old\n");
        QTRY_COMPARE(QApplication::focusWidget(), bench.view());
        bench.key(Qt::Key_Home, Qt::ControlModifier);
        bench.type("more ");
        bench.window->close();
        QVERIFY(bench.window->isVisible());
        QVERIFY(bench.label("messageBarText").contains(u"changes that are not saved"_s));
        bench.click(bench.choice("Quit"));
        QVERIFY(!bench.window->isVisible());
        restartAfterCrash(bench);
        QTRY_VERIFY(bench.find("unsavedTextBar"));
        bench.click(bench.choice("Show them"));
        QTRY_COMPARE(bench.text(), "more typed old\n");
        bench.window->close();
        bench.click(bench.choice("Save and quit"));
        QTRY_VERIFY(!bench.window->isVisible());
        QCOMPARE(bench.home.read("left/a.txt"), "more typed old\n");
        QTRY_COMPARE(bench.unsaved(), QStringList());
    }

    void closingAsksAboutWhatIsNotSaved()
    {
        const EditorBench bench({{"left/a.txt", "a\n"}, {"left/b.txt", "b\n"}});
        bench.open("a.txt");
        bench.type("x");
        bench.key(Qt::Key_W, Qt::ControlModifier);
        QVERIFY(bench.choice("Save and close"));
        bench.click(bench.choice("Close without saving"));
        QTRY_COMPARE(QApplication::focusWidget(), bench.list(Side::left));
        QCOMPARE(bench.home.read("left/a.txt"), "a\n");
        QTRY_COMPARE(bench.unsaved(), QStringList());
        // Files stay open while the lists are looked at.
        bench.open("a.txt");
        bench.type("y");
        bench.key(Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
        bench.open("b.txt");
        bench.key(Qt::Key_Tab, Qt::ControlModifier);
        QCOMPARE(bench.text(), "ya\n");
        // What lists would do is not done to them.
        bench.key(Qt::Key_F8);
        bench.key(Qt::Key_W, Qt::ControlModifier);
        bench.click(bench.choice("Save and close"));
        QTRY_COMPARE(bench.home.read("left/a.txt"), "ya\n");
        QTRY_COMPARE(bench.text(), "b\n");
        QVERIFY(bench.home.exists("left/b.txt"));
    }

    void failedSaveKeepsTheTextAndClosesNothing()
    {
        const EditorBench bench({{"left/folder/a.txt", "old\n"}});
        bench.model->tabs(Side::left).openLocalHere(bench.home.path("left/folder"));
        QTRY_VERIFY(namesOf(bench.pane(Side::left)->displayed()) == QStringList{u"a.txt"_s});
        bench.open("a.txt");
        bench.type("mine ");
        QVERIFY(QDir().rename(bench.home.path("left/folder"), bench.home.path("left/away")));
        bench.key(Qt::Key_W, Qt::ControlModifier);
        bench.click(bench.choice("Save and close"));
        QTRY_VERIFY(bench.choice("Save it again"));
        bench.click(bench.choice("Save it again"));
        QTRY_VERIFY(bench.choice("Try again"));
        QCOMPARE(bench.text(), "mine old\n");
        QVERIFY(QDir().rename(bench.home.path("left/away"), bench.home.path("left/folder")));
        // The save that was to close the file is over; a later one does not.
        bench.click(bench.choice("Try again"));
        QTRY_COMPARE(bench.home.read("left/folder/a.txt"), "mine old\n");
        QTRY_VERIFY(!bench.view()->isModified());
        QCOMPARE(bench.text(), "mine old\n");
    }

    void everythingIsReplacedInOneStepThatCanBeUndone()
    {
        const EditorBench bench({{"left/a.txt", QByteArray("one two\n").repeated(5000)}});
        const auto number = [](int count) { return QLocale().toString(count); };
        bench.open("a.txt");
        bench.key(Qt::Key_H, Qt::ControlModifier);
        bench.type("(t)wo");
        bench.click(bench.find("editorFindPattern"));
        QTRY_COMPARE(bench.label("editorHits"), number(5000) + u" hits"_s);
        bench.key(Qt::Key_F3);
        QTRY_COMPARE(bench.label("editorHits"), u"1 of "_s + number(5000));
        bench.key(Qt::Key_F3, Qt::ShiftModifier);
        QTRY_COMPARE(bench.label("editorHits"), number(5000) + u" of "_s + number(5000));
        bench.find<QLineEdit>("editorReplacement")->setText(u"$1hree"_s);
        bench.click(bench.find("editorReplace"));
        QTRY_COMPARE(bench.label("editorHits"), u"1 of "_s + number(4999));
        bench.click(bench.find("editorReplaceAll"));
        QTRY_COMPARE(bench.text(), QByteArray("one three\n").repeated(5000));
        QTRY_COMPARE(bench.label("editorHits"), u"No hits"_s);
        bench.key(Qt::Key_Escape);
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(bench.text(), QByteArray("one two\n").repeated(4999) + "one three\n");
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(bench.text(), QByteArray("one two\n").repeated(5000));
        bench.key(Qt::Key_G, Qt::ControlModifier);
        bench.type("12:5");
        bench.key(Qt::Key_Return);
        QTRY_COMPARE(bench.button("editorPlace"), u"Line 12, column 5"_s);
    }

    void protectedFileIsOnlyShownUntilSomebodyInsists()
    {
        const EditorBench bench({{"left/a.txt", "a\n"}});
        QCOMPARE(::chmod(QFile::encodeName(bench.home.path("left/a.txt")).constData(), 0444), 0);
        bench.open("a.txt");
        QTRY_VERIFY(bench.label("messageBarText").contains(u"for reading only. It is write-protected."_s));
        bench.type("x");
        QCOMPARE(bench.text(), "a\n");
        bench.click(bench.choice("Edit anyway"));
        bench.type("x");
        bench.save();
        QTRY_COMPARE(bench.home.read("left/a.txt"), "xa\n");
    }

    void whatIsNoTextGoesToTheDesktopAndWhatIsTooLargeIsAskedAbout()
    {
        const EditorBench bench({{"left/a.bin", QByteArray("a\0b", 3)}, {"left/large.log", ""}});
        QVERIFY(QFile::resize(bench.home.path("left/large.log"), 20'000'001));
        QDesktopServices::setUrlHandler(u"file"_s, this, "openUrl");
        bench.activateList(Side::left);
        bench.select(Side::left, "a.bin");
        bench.key(Qt::Key_F4);
        QTRY_COMPARE(m_opened, QStringList{bench.home.path("left/a.bin")});
        bench.select(Side::left, "large.log");
        bench.key(Qt::Key_F4);
        QTRY_COMPARE(bench.label("messageBarText"), u"“large.log” has 20.0 MB; the editor takes up to 20.0 MB."_s);
        QCOMPARE(m_opened.size(), 1);
        bench.click(bench.choice("Open with the desktop's program"));
        QCOMPARE(m_opened.size(), 2);
        QDesktopServices::unsetUrlHandler(u"file"_s);
        QVERIFY(!bench.view());
    }

    void bothThemesAreReadable()
    {
        const EditorBench bench(
            {{"left/a.cpp", "// comment\nint main() { return \"text\" + 1; }\n"}, {"left/plain", "text\n"}});
        const auto luminance = [](long value) {
            const auto channel = [value](int shift) {
                const double c = double((value >> shift) & 0xFF) / 255.0;
                return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * channel(0) + 0.7152 * channel(8) + 0.0722 * channel(16);
        };
        for (const char *name : {"a.cpp", "plain"}) {
            bench.open(name);
            for (const QString &theme : {u"midnight"_s, u"daylight"_s}) {
                bench.model->settings().themeID.set(theme);
                QSet<long> colors;
                for (unsigned long style = 0; style < 20; ++style) {
                    const long fore = bench.view()->SendScintilla(QsciScintillaBase::SCI_STYLEGETFORE, style);
                    const long back = bench.view()->SendScintilla(QsciScintillaBase::SCI_STYLEGETBACK, style);
                    const auto [low, high] = std::minmax({luminance(fore), luminance(back)});
                    QVERIFY2((high + 0.05) / (low + 0.05) >= 4.5, qPrintable(theme + QString::number(style)));
                    colors << fore;
                    // Plain text has one style.
                    if (bench.button("editorLanguage") == u"Plain text"_s)
                        break;
                }
                QCOMPARE(colors.size() >= 5, bench.button("editorLanguage") == u"C++"_s);
            }
            bench.key(Qt::Key_Escape);
        }
    }
};

MOORIX_TEST(EditorWindowTest)
#include "EditorWindowTest.moc"
