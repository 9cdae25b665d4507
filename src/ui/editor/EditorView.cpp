// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorView.h"

#include "ui/Theme.h"
#include "ui/editor/EditorCommand.h"
#include "ui/editor/EditorLexers.h"

#include <Qsci/qscicommandset.h>
#include <Qsci/qscilexer.h>

#include <QFontInfo>
#include <QKeyEvent>

#include <algorithm>
#include <array>
#include <utility>

namespace moorix {

namespace {

/// What the component calls an unsigned word.
using Word = unsigned long;

constexpr int hitIndicator = 8;
constexpr int numberMargin = 0;

long colorValue(const QColor &color)
{
    return color.red() | (color.green() << 8) | (color.blue() << 16);
}

} // namespace

EditorView::EditorView(QWidget *parent)
    : QsciScintilla(parent)
{
    setObjectName(QStringLiteral("editorView"));
    setFrameShape(QFrame::NoFrame);
    setUtf8(true);
    setAutoIndent(true);
    setBackspaceUnindents(true);
    setTabIndents(true);
    setBraceMatching(SloppyBraceMatch);
    setCaretLineVisible(true);
    SendScintilla(SCI_SETCARETLINEVISIBLEALWAYS, 1UL);
    setCaretWidth(2);
    setMarginWidth(1, 0);
    setMarginType(numberMargin, NumberMargin);
    setWrapIndentMode(WrapIndentSame);
    constexpr long gap = 8;
    SendScintilla(SCI_SETMARGINLEFT, 0UL, gap);
    setExtraAscent(2);
    setExtraDescent(2);
    SendScintilla(SCI_SETSCROLLWIDTH, 1UL);
    SendScintilla(SCI_SETSCROLLWIDTHTRACKING, 1UL);
    SendScintilla(SCI_SETENDATLASTLINE, 1UL);
    SendScintilla(SCI_SETIDLESTYLING, long(SC_IDLESTYLING_AFTERVISIBLE));
    SendScintilla(SCI_SETMULTIPLESELECTION, 1UL);
    SendScintilla(SCI_SETADDITIONALSELECTIONTYPING, 1UL);
    SendScintilla(SCI_SETCARETSTICKY, long(SC_CARETSTICKY_WHITESPACE));
    SendScintilla(SCI_INDICSETSTYLE, Word(hitIndicator), long(INDIC_STRAIGHTBOX));
    SendScintilla(SCI_INDICSETUNDER, Word(hitIndicator), 1L);
    freeKeys();
    applyLook();
    connect(this, &QsciScintilla::textChanged, this, [this] {
        ++m_revision;
        emit contentChanged();
    });
    connect(this, &QsciScintilla::linesChanged, this, &EditorView::fitMargin);
    connect(this, &QsciScintillaBase::SCN_UPDATEUI, this, [this] {
        paintHits();
        emit placeChanged();
    });
    connect(this, &QsciScintillaBase::SCN_ZOOM, this, &EditorView::fitMargin);
}

/// Keys that stand for something else here, or in the whole window.
void EditorView::freeKeys()
{
    static constexpr std::array letters{Qt::Key_T, Qt::Key_U, Qt::Key_L};
    const auto isFreed = [](int key) {
        return std::ranges::any_of(letters, [key](Qt::Key letter) {
            return key == (Qt::CTRL | letter).toCombined() || key == (Qt::CTRL | Qt::SHIFT | letter).toCombined();
        });
    };
    for (QsciCommand *command : std::as_const(standardCommands()->commands())) {
        if (isFreed(command->key()))
            command->setKey(0);
        if (isFreed(command->alternateKey()))
            command->setAlternateKey(0);
    }
}

void EditorView::setContent(const QByteArray &text)
{
    const bool wasReadOnly = isReadOnly();
    setReadOnly(false);
    SendScintilla(SCI_SETUNDOCOLLECTION, 0UL);
    SendScintilla(SCI_CLEARALL);
    SendScintilla(SCI_ALLOCATE, Word(text.size() + 4096));
    SendScintilla(SCI_ADDTEXT, Word(text.size()), text.constData());
    SendScintilla(SCI_SETUNDOCOLLECTION, 1UL);
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    SendScintilla(SCI_SETSAVEPOINT);
    SendScintilla(SCI_GOTOPOS, 0UL);
    setReadOnly(wasReadOnly);
    fitMargin();
}

void EditorView::replaceContent(const QByteArray &text)
{
    const Place before = place();
    const long top = SendScintilla(SCI_GETFIRSTVISIBLELINE);
    SendScintilla(SCI_BEGINUNDOACTION);
    SendScintilla(SCI_TARGETWHOLEDOCUMENT);
    SendScintilla(SCI_REPLACETARGET, Word(text.size()), text.constData());
    SendScintilla(SCI_ENDUNDOACTION);
    goTo(before.line, before.column);
    SendScintilla(SCI_SETFIRSTVISIBLELINE, Word(top));
}

QByteArray EditorView::content() const
{
    const long size = SendScintilla(SCI_GETLENGTH);
    const auto *bytes = static_cast<const char *>(SendScintillaPtrResult(SCI_GETCHARACTERPOINTER));
    return {bytes, size};
}

LineEnds EditorView::lineEnds() const
{
    const long size = SendScintilla(SCI_GETLENGTH);
    return LineEnds::of({static_cast<const char *>(SendScintillaPtrResult(SCI_GETCHARACTERPOINTER)), size});
}

void EditorView::markSaved()
{
    SendScintilla(SCI_SETSAVEPOINT);
}

void EditorView::setLanguage(const Language &language, bool isPlain)
{
    QsciLexer *const before = lexer();
    QsciLexer *const made = isPlain ? nullptr : editorLexers::make(language, this);
    if (made)
        editorLexers::dress(*made, textFont());
    setLexer(made);
    delete before;
    // Both change what a lexer has no say in.
    applyLook();
}

void EditorView::setIndentation(const Indentation &indentation)
{
    setIndentationsUseTabs(indentation.usesTabs);
    setTabWidth(indentation.width);
    setIndentationWidth(indentation.width);
}

void EditorView::setWraps(bool wraps)
{
    setWrapMode(wraps ? WrapWord : WrapNone);
}

void EditorView::setShowsBlanks(bool shows)
{
    setWhitespaceVisibility(shows ? WsVisible : WsInvisible);
}

QFont EditorView::textFont() const
{
    // The component counts in points, and knows one family only.
    const QFont fixed = Theme::monospace();
    QFont font(QFontInfo(fixed).family());
    font.setPointSizeF(fixed.pixelSize() * 72.0 / logicalDpiY());
    return font;
}

void EditorView::applyLook()
{
    using enum Theme::Color;
    const QFont font = textFont();
    if (lexer()) {
        editorLexers::dress(*lexer(), font);
    } else {
        // First: it makes all styles like the default one, whose colour is that of no theme.
        SendScintilla(SCI_STYLECLEARALL);
        setFont(font);
        setColor(Theme::color(text));
        setPaper(Theme::color(base));
    }
    setMarginsFont(font);
    setMarginsBackgroundColor(Theme::color(base));
    setMarginsForegroundColor(Theme::color(mutedText));
    setCaretForegroundColor(Theme::color(accent));
    setCaretLineBackgroundColor(Theme::color(currentRow));
    setSelectionBackgroundColor(Theme::color(selection));
    resetSelectionForegroundColor();
    setMatchedBraceBackgroundColor(Theme::color(inactiveSelection));
    setMatchedBraceForegroundColor(Theme::color(accent));
    setUnmatchedBraceBackgroundColor(Theme::color(base));
    setUnmatchedBraceForegroundColor(Theme::color(danger));
    setWhitespaceForegroundColor(Theme::color(faintText));
    SendScintilla(SCI_INDICSETFORE, Word(hitIndicator), colorValue(Theme::color(warning)));
    SendScintilla(SCI_INDICSETALPHA, Word(hitIndicator), 60L);
    SendScintilla(SCI_INDICSETOUTLINEALPHA, Word(hitIndicator), 150L);
    fitMargin();
}

void EditorView::fitMargin()
{
    const auto digits = std::max<qsizetype>(3, QString::number(lines()).size());
    setMarginWidth(numberMargin, QString(digits + 2, u'9'));
}

EditorView::Place EditorView::place() const
{
    const auto at = Word(SendScintilla(SCI_GETCURRENTPOS));
    const long line = SendScintilla(SCI_LINEFROMPOSITION, at);
    const auto begin = Word(SendScintilla(SCI_POSITIONFROMLINE, line));
    const TextSearch::Hit chosen = selection();
    return {int(line) + 1, int(SendScintilla(SCI_COUNTCHARACTERS, begin, long(at))) + 1,
            SendScintilla(SCI_COUNTCHARACTERS, Word(chosen.begin), long(chosen.end))};
}

void EditorView::goTo(int line, int column)
{
    const long last = SendScintilla(SCI_GETLINECOUNT) - 1;
    const auto target = Word(std::clamp<long>(line - 1, 0, last));
    const long end = SendScintilla(SCI_GETLINEENDPOSITION, target);
    const long begin = SendScintilla(SCI_POSITIONFROMLINE, target);
    long at = begin;
    // Beyond the end it answers with 0.
    for (int step = 1; step < column && at < end; ++step)
        at = SendScintilla(SCI_POSITIONAFTER, Word(at));
    SendScintilla(SCI_ENSUREVISIBLEENFORCEPOLICY, target);
    SendScintilla(SCI_GOTOPOS, Word(std::min(at, end)));
    SendScintilla(SCI_VERTICALCENTRECARET);
}

TextSearch::Hit EditorView::selection() const
{
    return {SendScintilla(SCI_GETSELECTIONSTART), SendScintilla(SCI_GETSELECTIONEND)};
}

void EditorView::select(const TextSearch::Hit &hit)
{
    SendScintilla(SCI_SETSEL, Word(hit.begin), long(hit.end));
    const auto line = SendScintilla(SCI_LINEFROMPOSITION, Word(hit.begin));
    const long shown = SendScintilla(SCI_VISIBLEFROMDOCLINE, Word(line));
    const long top = SendScintilla(SCI_GETFIRSTVISIBLELINE);
    // What is looked for belongs into sight with some lines around it.
    constexpr long margin = 3;
    if (shown < top + margin || shown > top + SendScintilla(SCI_LINESONSCREEN) - margin)
        SendScintilla(SCI_VERTICALCENTRECARET);
}

QString EditorView::selectedWords() const
{
    const QString text = selectedText();
    return text.contains(u'\n') || text.contains(u'\r') ? QString() : text;
}

void EditorView::setHits(QList<TextSearch::Hit> hits)
{
    m_hits = std::move(hits);
    paintHits();
}

/// Only what is in sight: marking fifty thousand would take longer than looking for them.
void EditorView::paintHits()
{
    const auto length = Word(SendScintilla(SCI_GETLENGTH));
    const long top = SendScintilla(SCI_GETFIRSTVISIBLELINE);
    const long lines = SendScintilla(SCI_LINESONSCREEN) + 1;
    const auto lineAt = [this](long row) { return SendScintilla(SCI_DOCLINEFROMVISIBLE, Word(row)); };
    const qsizetype from = SendScintilla(SCI_POSITIONFROMLINE, Word(lineAt(top)));
    const qsizetype to = SendScintilla(SCI_GETLINEENDPOSITION, Word(lineAt(top + lines)));
    SendScintilla(SCI_SETINDICATORCURRENT, Word(hitIndicator));
    SendScintilla(SCI_INDICATORCLEARRANGE, 0UL, long(length));
    auto hit = std::ranges::lower_bound(m_hits, from, {}, &TextSearch::Hit::end);
    for (; hit != m_hits.end() && hit->begin <= to; ++hit)
        SendScintilla(SCI_INDICATORFILLRANGE, Word(hit->begin), long(hit->end - hit->begin));
}

void EditorView::replace(const TextSearch::Hit &hit, const QByteArray &text)
{
    SendScintilla(SCI_SETTARGETRANGE, Word(hit.begin), long(hit.end));
    SendScintilla(SCI_REPLACETARGET, Word(text.size()), text.constData());
    SendScintilla(SCI_GOTOPOS, Word(hit.begin + text.size()));
}

bool EditorView::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride && editorCommandForKey(*static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return QsciScintilla::event(event);
}

/// Commands are run by the page around it, whichever part has the keyboard.
void EditorView::keyPressEvent(QKeyEvent *event)
{
    if (editorCommandForKey(*event))
        event->ignore();
    else
        QsciScintilla::keyPressEvent(event);
}

} // namespace moorix
