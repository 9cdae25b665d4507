// SPDX-License-Identifier: GPL-3.0-or-later
#include "WindowBench.h"

#include "editor/Languages.h"
#include "ui/MessageBar.h"
#include "ui/Theme.h"
#include "ui/editor/EditorCommand.h"
#include "ui/editor/EditorLexers.h"
#include "ui/editor/EditorView.h"
#include "ui/editor/GoToLineBar.h"

#include <Qsci/qscilexer.h>

#include <QKeyEvent>
#include <QMenu>
#include <QSignalSpy>

#include <cmath>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

double luminance(const QColor &color)
{
    const auto channel = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF()) + 0.0722 * channel(color.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    // A list makes it a pair of values, not of references to what is gone.
    const auto [low, high] = std::minmax({luminance(a), luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

/// Of a bar's buttons that are shown.
QStringList buttonsOf(const QWidget &bar)
{
    QStringList texts;
    for (const QPushButton *button : bar.findChildren<QPushButton *>()) {
        if (button->isVisible())
            texts << button->text();
    }
    return texts;
}

bool isHit(const EditorView &view, std::size_t at)
{
    return view.SendScintilla(QsciScintillaBase::SCI_INDICATORVALUEAT, 8UL, long(at)) != 0;
}

} // namespace

/// The parts of the editor, each by itself.
class EditorPartsTest final : public QObject
{
    Q_OBJECT

private slots:
    void everyLanguageHasColoursThatCanBeReadInBothThemes()
    {
        auto &application = *qobject_cast<QApplication *>(QApplication::instance());
        for (const Theme::Description &theme : Theme::all()) {
            Theme::apply(application, theme.id, 13);
            for (const Language &language : languages::all()) {
                QObject owner;
                QsciLexer *lexer = editorLexers::make(language, &owner);
                QCOMPARE(lexer == nullptr, language.lexer.isEmpty());
                if (!lexer)
                    continue;
                editorLexers::dress(*lexer, Theme::monospace());
                QSet<QRgb> colors;
                for (int style = 0; style < 128; ++style) {
                    if (lexer->description(style).isEmpty())
                        continue;
                    const QString what = theme.id + u' ' + language.name + u' ' + lexer->description(style);
                    QCOMPARE(lexer->paper(style), Theme::color(Theme::Color::base));
                    QVERIFY2(contrast(lexer->color(style), lexer->paper(style)) >= 4.5, qPrintable(what));
                    QVERIFY2(contrast(lexer->color(style), Theme::color(Theme::Color::currentRow)) >= 4.5,
                             qPrintable(what));
                    colors << lexer->color(style).rgb();
                }
                QVERIFY2(colors.size() >= 3, qPrintable(language.name));
            }
        }
        Theme::apply(application, u"midnight"_s, 13);
    }

    void keywordsOfLanguagesWithoutRulesOfTheirOwnAreColoured()
    {
        const std::tuple<QString, QByteArray, qsizetype> rows[] = {
            {u"Go"_s, "x := 1\nfunc main", 7},
            {u"TypeScript"_s, "x\ninterface A", 2},
            {u"Rust"_s, "fn main<'a>(x: &'a str)", 0},
            {u"PowerShell"_s, "# c\nfunction x", 4},
        };
        for (const auto &[name, text, keyword] : rows) {
            EditorView view;
            view.setLanguage(languages::named(name), false);
            view.setContent(text);
            view.SendScintilla(QsciScintillaBase::SCI_COLOURISE, 0UL, -1L);
            const auto colorAt = [&view](qsizetype at) {
                const auto style = view.SendScintilla(QsciScintillaBase::SCI_GETSTYLEAT, std::size_t(at));
                return view.lexer()->color(int(style));
            };
            QCOMPARE(colorAt(keyword), editorLexers::colorOf(u"Keyword"_s));
            QVERIFY(colorAt(text.size() - 1) != editorLexers::colorOf(u"String"_s));
        }
    }

    void textGoesInAndComesOutUnchanged()
    {
        EditorView view;
        for (const QByteArray &text :
             {QByteArray(), QByteArray("a\r\nb\rc\n"), QByteArray("a\0b\n", 4), u"\uFEFFgrün 😀\u2028x"_s.toUtf8()}) {
            view.setContent(text);
            QCOMPARE(view.content(), text);
            QVERIFY(!view.isModified() && !view.isUndoAvailable());
        }
        view.setContent("old\ntext\n");
        view.goTo(2, 3);
        view.replaceContent("new\ntext\nand more\n");
        QCOMPARE(view.place().line, 2);
        QCOMPARE(view.place().column, 3);
        view.undo();
        QCOMPARE(view.content(), "old\ntext\n");
        QVERIFY(!view.isModified() && !view.isUndoAvailable());
    }

    void placesAreCharactersAndNeverBeyondTheEnd()
    {
        EditorView view;
        view.setContent(u"grün 😀x\r\nzwei"_s.toUtf8());
        const std::tuple<int, int, int, int> rows[] = {{1, 7, 1, 7}, {1, 99, 1, 8},     {2, 1, 2, 1},
                                                       {0, 0, 1, 1}, {99'999, 2, 2, 2}, {2, 99, 2, 5}};
        for (const auto &[line, column, atLine, atColumn] : rows) {
            view.goTo(line, column);
            QCOMPARE(view.place().line, atLine);
            QCOMPARE(view.place().column, atColumn);
        }
        view.select({0, 10});
        QCOMPARE(view.place().selected, 6);
        QCOMPARE(view.selectedWords(), u"grün 😀"_s);
        view.select({0, 14});
        QCOMPARE(view.selectedWords(), QString());
    }

    void hitsAreMarkedWhereTheyAreInSight()
    {
        EditorView view;
        view.resize(500, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        const QByteArray line = "needle and more\n";
        view.setContent(line.repeated(5000));
        QList<TextSearch::Hit> hits;
        for (qsizetype i = 0; i < 5000; ++i)
            hits.append({i * line.size(), i * line.size() + 6});
        view.setHits(hits);
        QVERIFY(isHit(view, 0) && isHit(view, 5) && !isHit(view, 6));
        view.select(hits.at(4000));
        const auto far = std::size_t(hits.at(4000).begin);
        QTRY_VERIFY(isHit(view, far));
        view.setHits({});
        QVERIFY(!isHit(view, far));
    }

    void keysOfTheEditorComeBeforeThoseOfTheWindow()
    {
        const WindowBench bench({{"left/a.txt", "a\n"}});
        bench.activateList(Side::left);
        bench.select(Side::left, "a.txt");
        bench.key(Qt::Key_F4);
        QTRY_VERIFY(bench.find<EditorView>("editorView") && bench.find("editorView")->hasFocus());
        auto *view = bench.find<EditorView>("editorView");
        QTest::keyClicks(view, QLatin1String("xy"));
        bench.key(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(view->content(), "a\n");
        // The window's sync.
        bench.key(Qt::Key_Y, Qt::ControlModifier);
        QCOMPARE(view->content(), "xya\n");
        // Its list of servers, and its hidden files.
        bench.key(Qt::Key_H, Qt::ControlModifier);
        QVERIFY(bench.find("editorReplacement"));
        bench.key(Qt::Key_Escape);
        QVERIFY(!bench.find("editorFindBar") && view->hasFocus());
        // A step in zoom, and back, in place of the sidebar.
        const long before = view->SendScintilla(QsciScintillaBase::SCI_GETZOOM);
        bench.key(Qt::Key_Plus, Qt::ControlModifier);
        QCOMPARE(view->SendScintilla(QsciScintillaBase::SCI_GETZOOM), before + 1);
        bench.key(Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view->SendScintilla(QsciScintillaBase::SCI_GETZOOM), before);
        QVERIFY(view->hasFocus());
        QCOMPARE(bench.home.read("left/a.txt"), "a\n");
    }

    void lineEndsAreChangedInOneStepAndLongLinesStayPlain()
    {
        const WindowBench bench(
            {{"left/a.cpp", "int a;\r\nint b;\r\n"}, {"left/long.cpp", "int " + QByteArray(30'000, 'x') + ";\n"}});
        const auto open = [&bench](const char *name) {
            bench.activateList(Side::left);
            bench.select(Side::left, name);
            bench.key(Qt::Key_F4);
            QTRY_COMPARE(bench.window->windowTitle(), QLatin1String(name) + u" — Moorix"_s);
        };
        open("a.cpp");
        auto *view = bench.find<EditorView>("editorView");
        QVERIFY(view->lexer());
        bench.click(bench.find("editorLineEnds"));
        QTRY_VERIFY(QApplication::activePopupWidget());
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        WindowBench::choose(menu->actions(), "LF");
        menu->close();
        QCOMPARE(view->content(), "int a;\nint b;\n");
        view->undo();
        QCOMPARE(view->content(), "int a;\r\nint b;\r\n");
        QVERIFY(!view->isModified());
        bench.key(Qt::Key_W, Qt::ControlModifier);
        open("long.cpp");
        QVERIFY(!bench.find<EditorView>("editorView")->lexer());
        QCOMPARE(bench.find<QPushButton>("editorLanguage")->text(), u"Plain: very long lines"_s);
    }

    void lineIsAskedForWithItsColumn()
    {
        const std::tuple<const char *, int, int> rows[] = {{"12", 12, 1}, {"3:7", 3, 7}, {"4:", 4, 1}, {"0:0", 0, 1}};
        for (const auto &[text, line, column] : rows) {
            GoToLineBar bar;
            QSignalSpy chosen(&bar, &GoToLineBar::chosen);
            bar.open(1, 100);
            QTest::keyClicks(bar.findChild<QLineEdit *>(), QLatin1String(text));
            QTest::keyClick(bar.findChild<QLineEdit *>(), Qt::Key_Return);
            QCOMPARE(chosen.value(0), (QVariantList{line, column}));
            QVERIFY(!bar.isVisible());
        }
    }

    void choicesOfASentenceGoWithIt()
    {
        MessageBar bar;
        QStringList run;
        bar.offer(u"first"_s, u"A"_s, MessageBar::Tone::warning, [&run] { run << u"A"_s; });
        bar.addChoice({u"B"_s, [&run] { run << u"B"_s; }});
        bar.addChoice({u"C"_s, [&run] { run << u"C"_s; }});
        QCOMPARE(sorted(buttonsOf(bar)), (QStringList{u"A"_s, u"B"_s, u"C"_s}));
        for (QPushButton *button : bar.findChildren<QPushButton *>()) {
            if (button->text() == u"C"_s)
                button->click();
        }
        QCOMPARE(run, QStringList{u"C"_s});
        QVERIFY(!bar.isVisible());
        bar.offer(u"second"_s, u"D"_s, MessageBar::Tone::warning, [] {});
        QCOMPARE(buttonsOf(bar), QStringList{u"D"_s});
    }
};

MOORIX_TEST(EditorPartsTest)
#include "EditorPartsTest.moc"
