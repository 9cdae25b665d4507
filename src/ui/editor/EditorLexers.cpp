// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorLexers.h"

#include "ui/Theme.h"

#include <Qsci/qscilexerbash.h>
#include <Qsci/qscilexerbatch.h>
#include <Qsci/qscilexercmake.h>
#include <Qsci/qscilexercoffeescript.h>
#include <Qsci/qscilexercpp.h>
#include <Qsci/qscilexercsharp.h>
#include <Qsci/qscilexercss.h>
#include <Qsci/qscilexerd.h>
#include <Qsci/qscilexerdiff.h>
#include <Qsci/qscilexerfortran.h>
#include <Qsci/qscilexerhtml.h>
#include <Qsci/qscilexerjava.h>
#include <Qsci/qscilexerjavascript.h>
#include <Qsci/qscilexerjson.h>
#include <Qsci/qscilexerlua.h>
#include <Qsci/qscilexermakefile.h>
#include <Qsci/qscilexermarkdown.h>
#include <Qsci/qscilexeroctave.h>
#include <Qsci/qscilexerpascal.h>
#include <Qsci/qscilexerperl.h>
#include <Qsci/qscilexerpo.h>
#include <Qsci/qscilexerpostscript.h>
#include <Qsci/qscilexerproperties.h>
#include <Qsci/qscilexerpython.h>
#include <Qsci/qscilexerruby.h>
#include <Qsci/qscilexersql.h>
#include <Qsci/qscilexertcl.h>
#include <Qsci/qscilexertex.h>
#include <Qsci/qscilexerverilog.h>
#include <Qsci/qscilexervhdl.h>
#include <Qsci/qscilexerxml.h>
#include <Qsci/qscilexeryaml.h>

#include <array>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace moorix::editorLexers {

namespace {

/// Languages with the comments and strings of C, and words of their own.
class WordsLexer final : public QsciLexerCPP
{
public:
    WordsLexer(QByteArray words, QObject *parent)
        : QsciLexerCPP(parent)
        , m_words(std::move(words))
    {
    }
    const char *keywords(int set) const override { return set == 1 ? m_words.constData() : nullptr; }

private:
    QByteArray m_words;
};

/// Rules of the component for which it has no class.
class NamedLexer final : public QsciLexer
{
public:
    NamedLexer(const char *name, QStringList descriptions, int wordSet, QByteArray words, QObject *parent)
        : QsciLexer(parent)
        , m_name(name)
        , m_descriptions(std::move(descriptions))
        , m_wordSet(wordSet)
        , m_words(std::move(words))
    {
    }
    const char *language() const override { return m_name; }
    const char *lexer() const override { return m_name; }
    QString description(int style) const override { return m_descriptions.value(style); }
    const char *keywords(int set) const override { return set == m_wordSet ? m_words.constData() : nullptr; }

private:
    const char *m_name;
    QStringList m_descriptions;
    int m_wordSet;
    QByteArray m_words;
};

/// In the order of the styles of the component's rules.
const QStringList &rustStyles()
{
    static const QStringList styles{
        u"Default"_s,      u"Comment"_s, u"Comment"_s,    u"Comment"_s,     u"Comment"_s,     u"Number"_s,
        u"Keyword"_s,      u"Keyword"_s, u"Keyword"_s,    u"Keyword"_s,     u"Keyword"_s,     u"Keyword"_s,
        u"Keyword"_s,      u"String"_s,  u"Raw string"_s, u"Character"_s,   u"Operator"_s,    u"Identifier"_s,
        u"Lifetime tag"_s, u"Macro"_s,   u"Error"_s,      u"Byte string"_s, u"Byte string"_s, u"Byte character"_s};
    return styles;
}

const QStringList &powerShellStyles()
{
    static const QStringList styles{u"Default"_s,  u"Comment"_s,  u"String"_s,     u"String"_s,  u"Number"_s,
                                    u"Variable"_s, u"Operator"_s, u"Identifier"_s, u"Keyword"_s, u"Function"_s,
                                    u"Function"_s, u"Function"_s, u"Keyword"_s,    u"Comment"_s, u"String"_s,
                                    u"String"_s,   u"Comment"_s};
    return styles;
}

template <class Lexer>
QsciLexer *made(QObject *parent)
{
    return new Lexer(parent);
}

using Maker = QsciLexer *(*)(QObject *);

const QHash<QString, Maker> &makers()
{
    static const QHash<QString, Maker> table{
        {u"bash"_s, made<QsciLexerBash>},
        {u"batch"_s, made<QsciLexerBatch>},
        {u"cmake"_s, made<QsciLexerCMake>},
        {u"coffeescript"_s, made<QsciLexerCoffeeScript>},
        {u"cpp"_s, made<QsciLexerCPP>},
        {u"csharp"_s, made<QsciLexerCSharp>},
        {u"css"_s, made<QsciLexerCSS>},
        {u"d"_s, made<QsciLexerD>},
        {u"diff"_s, made<QsciLexerDiff>},
        {u"fortran"_s, made<QsciLexerFortran>},
        {u"html"_s, made<QsciLexerHTML>},
        {u"java"_s, made<QsciLexerJava>},
        {u"javascript"_s, made<QsciLexerJavaScript>},
        {u"json"_s, made<QsciLexerJSON>},
        {u"lua"_s, made<QsciLexerLua>},
        {u"makefile"_s, made<QsciLexerMakefile>},
        {u"markdown"_s, made<QsciLexerMarkdown>},
        {u"octave"_s, made<QsciLexerOctave>},
        {u"pascal"_s, made<QsciLexerPascal>},
        {u"perl"_s, made<QsciLexerPerl>},
        {u"po"_s, made<QsciLexerPO>},
        {u"postscript"_s, made<QsciLexerPostScript>},
        {u"properties"_s, made<QsciLexerProperties>},
        {u"python"_s, made<QsciLexerPython>},
        {u"ruby"_s, made<QsciLexerRuby>},
        {u"sql"_s, made<QsciLexerSQL>},
        {u"tcl"_s, made<QsciLexerTCL>},
        {u"tex"_s, made<QsciLexerTeX>},
        {u"verilog"_s, made<QsciLexerVerilog>},
        {u"vhdl"_s, made<QsciLexerVHDL>},
        {u"xml"_s, made<QsciLexerXML>},
        {u"yaml"_s, made<QsciLexerYAML>},
    };
    return table;
}

enum class Part { text, comment, string, number, keyword, type, name, operatorSign, variable, error, added, removed };

Part partOf(const QString &description)
{
    // The first that is in the description counts.
    static const std::array words{
        std::pair{"unclosed"_L1, Part::error},
        std::pair{"error"_L1, Part::error},
        std::pair{"invalid"_L1, Part::error},
        std::pair{"illegal"_L1, Part::error},
        std::pair{"bad "_L1, Part::error},
        std::pair{"comment"_L1, Part::comment},
        std::pair{"pod"_L1, Part::comment},
        std::pair{"docstring"_L1, Part::comment},
        std::pair{"blockquote"_L1, Part::comment},
        std::pair{"block quote"_L1, Part::comment},
        std::pair{"added"_L1, Part::added},
        std::pair{"removed"_L1, Part::removed},
        std::pair{"deleted"_L1, Part::removed},
        std::pair{"identifier"_L1, Part::text},
        std::pair{"regular expression"_L1, Part::number},
        std::pair{"regex"_L1, Part::number},
        std::pair{"backtick"_L1, Part::string},
        std::pair{"string"_L1, Part::string},
        std::pair{"quoted"_L1, Part::string},
        std::pair{"character"_L1, Part::string},
        std::pair{"here document"_L1, Part::string},
        std::pair{"code"_L1, Part::string},
        std::pair{"color"_L1, Part::number},
        std::pair{"number"_L1, Part::number},
        std::pair{"integer"_L1, Part::number},
        std::pair{"entity"_L1, Part::number},
        std::pair{"symbol"_L1, Part::number},
        std::pair{"literal"_L1, Part::string},
        std::pair{"processor"_L1, Part::type},
        std::pair{"decorator"_L1, Part::type},
        std::pair{"attribute"_L1, Part::type},
        std::pair{"class"_L1, Part::type},
        std::pair{"type"_L1, Part::type},
        std::pair{"macro"_L1, Part::type},
        std::pair{"lifetime"_L1, Part::type},
        std::pair{"property"_L1, Part::name},
        std::pair{"function"_L1, Part::name},
        std::pair{"method"_L1, Part::name},
        std::pair{"builtin"_L1, Part::name},
        std::pair{"target"_L1, Part::name},
        std::pair{"selector"_L1, Part::name},
        std::pair{"key"_L1, Part::keyword},
        std::pair{"tag"_L1, Part::keyword},
        std::pair{"header"_L1, Part::keyword},
        std::pair{"section"_L1, Part::keyword},
        std::pair{"command"_L1, Part::keyword},
        std::pair{"directive"_L1, Part::keyword},
        std::pair{"document delimiter"_L1, Part::keyword},
        std::pair{"at-rule"_L1, Part::keyword},
        std::pair{"position"_L1, Part::name},
        std::pair{"link"_L1, Part::name},
        std::pair{"variable"_L1, Part::variable},
        std::pair{"scalar"_L1, Part::variable},
        std::pair{"parameter"_L1, Part::variable},
        std::pair{"reference"_L1, Part::variable},
        std::pair{"array"_L1, Part::variable},
        std::pair{"hash"_L1, Part::variable},
        std::pair{"label"_L1, Part::variable},
        std::pair{"operator"_L1, Part::operatorSign},
    };
    const QString lower = description.toLower();
    for (const auto &[word, part] : words) {
        if (lower.contains(word))
            return part;
    }
    return Part::text;
}

} // namespace

QsciLexer *make(const Language &language, QObject *parent)
{
    if (language.lexer == u"words"_s)
        return new WordsLexer(language.keywords, parent);
    if (language.lexer == u"rust"_s)
        return new NamedLexer("rust", rustStyles(), 1, language.keywords, parent);
    if (language.lexer == u"powershell"_s)
        return new NamedLexer("powershell", powerShellStyles(), 1, language.keywords, parent);
    const Maker maker = makers().value(language.lexer);
    return maker ? maker(parent) : nullptr;
}

QColor colorOf(const QString &description)
{
    // On a dark ground, then on a light one; each at least 4.5 to 1 against it and against the current line.
    static constexpr std::array<std::pair<QRgb, QRgb>, 12> colors{{
        {0, 0},                   // text: of the theme
        {0xff8391a8, 0xff5b6577}, // comment
        {0xff9ecb8b, 0xff1a6b37}, // string
        {0xffe5a97a, 0xff9a4a00}, // number
        {0xffc49bf0, 0xff7a2fb5}, // keyword
        {0xff5fc4d1, 0xff0b6470}, // type
        {0xff7db1ff, 0xff1a56b8}, // name
        {0xffa9b7cf, 0xff3f4a5c}, // operator
        {0xffe8a0b5, 0xff9b2258}, // variable
        {0xfff27781, 0xffb32235}, // error
        {0xff4cc38a, 0xff17703f}, // added
        {0xfff27781, 0xffb32235}, // removed
    }};
    const Part part = partOf(description);
    if (part == Part::text)
        return Theme::color(Theme::Color::text);
    const bool isDark = Theme::color(Theme::Color::base).lightness() < 128;
    const auto &[dark, light] = colors.at(std::size_t(part));
    return QColor::fromRgb(isDark ? dark : light);
}

void dress(QsciLexer &lexer, const QFont &font)
{
    const QColor paper = Theme::color(Theme::Color::base);
    const QColor text = Theme::color(Theme::Color::text);
    lexer.setDefaultPaper(paper);
    lexer.setDefaultColor(text);
    lexer.setDefaultFont(font);
    // For all styles, and for those without a description.
    lexer.setPaper(paper, -1);
    lexer.setColor(text, -1);
    lexer.setFont(font, -1);
    constexpr int styleCount = 128;
    for (int style = 0; style < styleCount; ++style) {
        const QString description = lexer.description(style);
        if (description.isEmpty())
            continue;
        // What is a name of the program's elsewhere is what stands before a colon there.
        const bool isKey = description == u"Identifier"_s && qstrcmp(lexer.language(), "YAML") == 0;
        lexer.setColor(colorOf(isKey ? u"Property"_s : description), style);
        // Else lines of some styles are filled with a ground of their own.
        lexer.setEolFill(false, style);
    }
}

} // namespace moorix::editorLexers
