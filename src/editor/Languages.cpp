// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/Languages.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix::languages {

namespace {

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

constexpr auto goWords =
    "break case chan const continue default defer else fallthrough for func go goto if import interface map package "
    "range return select struct switch type var true false nil iota any bool byte error float32 float64 int int8 int16 "
    "int32 int64 rune string uint uint8 uint16 uint32 uint64 uintptr";
constexpr auto kotlinWords =
    "abstract as break by catch class companion const continue data do else enum false final finally for fun if import "
    "in init inline interface internal is lateinit null object open operator override package private protected public "
    "return sealed super suspend this throw true try typealias val var when while";
constexpr auto swiftWords =
    "as associatedtype async await break case catch class continue default defer deinit do else enum extension "
    "fallthrough false fileprivate for func guard if import in init inout internal is let nil open operator override "
    "private protocol public repeat return self static struct subscript super switch throw throws true try typealias "
    "var where while";
constexpr auto rustWords = "as async await break const continue crate dyn else enum extern false fn for if impl in let "
                           "loop match mod move mut "
                           "pub ref return self Self static struct super trait true type union unsafe use where while "
                           "bool char f32 f64 i8 i16 "
                           "i32 i64 i128 isize str u8 u16 u32 u64 u128 usize";
constexpr auto typeScriptWords =
    "abstract any as async await boolean break case catch class const constructor continue debugger declare default "
    "delete do else enum export extends false finally for from function get if implements import in infer instanceof "
    "interface is keyof let module namespace never new null number object of override private protected public "
    "readonly "
    "return satisfies set static string super switch symbol this throw true try type typeof undefined unknown var void "
    "while with yield";
constexpr auto dartWords =
    "abstract as assert async await break case catch class const continue covariant default deferred do dynamic else "
    "enum export extends extension external factory false final finally for get if implements import in interface is "
    "late library mixin new null on operator part required rethrow return sealed set show static super switch sync "
    "this "
    "throw true try typedef var void while with yield";
constexpr auto scalaWords =
    "abstract case catch class def do else enum extends false final finally for given if implicit import lazy match "
    "new "
    "null object override package private protected return sealed super then this throw trait true try type using val "
    "var while with yield";
constexpr auto powerShellWords =
    "begin break catch class continue data do dynamicparam else elseif end enum exit filter finally for foreach from "
    "function hidden if in param process return static switch throw trap try until using while";

// clang-format off
QList<Language> makeTable()
{
    return {
        {u"Plain text"_s, {}, words("txt text log")},
        {u"AWK"_s, u"perl"_s, words("awk"), {}, words("awk gawk mawk")},
        {u"Batch"_s, u"batch"_s, words("bat cmd")},
        {u"C"_s, u"cpp"_s, words("c")},
        {u"C#"_s, u"csharp"_s, words("cs")},
        {u"C++"_s, u"cpp"_s, words("cpp cc cxx c++ h hpp hh hxx h++ ino ipp")},
        {u"CMake"_s, u"cmake"_s, words("cmake"), words("cmakelists.txt")},
        {u"CoffeeScript"_s, u"coffeescript"_s, words("coffee"), {}, words("coffee")},
        {u"Configuration"_s, u"properties"_s, words("conf cfg ini cnf properties desktop service socket timer mount network netdev rules env"),
         words(".editorconfig .gitconfig .gitmodules .npmrc .env config sshd_config ssh_config my.cnf hosts fstab")},
        {u"CSS"_s, u"css"_s, words("css scss less")},
        {u"D"_s, u"d"_s, words("d")},
        {u"Dart"_s, u"words"_s, words("dart"), {}, {}, dartWords},
        {u"Diff"_s, u"diff"_s, words("diff patch")},
        {u"Dockerfile"_s, u"bash"_s, words("dockerfile"), words("dockerfile containerfile")},
        {u"Fortran"_s, u"fortran"_s, words("f90 f95 f03 f08 f for")},
        {u"Go"_s, u"words"_s, words("go"), {}, {}, goWords},
        {u"HTML"_s, u"html"_s, words("html htm xhtml vue svelte jinja j2 tmpl")},
        {u"Java"_s, u"java"_s, words("java")},
        {u"JavaScript"_s, u"javascript"_s, words("js mjs cjs jsx"), {}, words("node nodejs")},
        {u"JSON"_s, u"json"_s, words("json jsonc json5 webmanifest geojson ipynb"), words(".babelrc .eslintrc .prettierrc composer.lock")},
        {u"Kotlin"_s, u"words"_s, words("kt kts"), {}, {}, kotlinWords},
        {u"Lua"_s, u"lua"_s, words("lua"), {}, words("lua luajit")},
        {u"Makefile"_s, u"makefile"_s, words("mk mak"), words("makefile gnumakefile kbuild")},
        {u"Markdown"_s, u"markdown"_s, words("md markdown mkd")},
        {u"Octave"_s, u"octave"_s, words("m"), {}, words("octave")},
        {u"Pascal"_s, u"pascal"_s, words("pas pp lpr dpr")},
        {u"Perl"_s, u"perl"_s, words("pl pm t"), {}, words("perl")},
        {u"PHP"_s, u"html"_s, words("php php5 phtml"), {}, words("php")},
        {u"PowerShell"_s, u"powershell"_s, words("ps1 psm1 psd1"), {}, words("pwsh"), powerShellWords},
        {u"PO translation"_s, u"po"_s, words("po pot")},
        {u"PostScript"_s, u"postscript"_s, words("ps eps")},
        {u"Python"_s, u"python"_s, words("py pyw pyi"), words("sconstruct wscript"), words("python pypy")},
        {u"Ruby"_s, u"ruby"_s, words("rb rake gemspec"), words("rakefile gemfile vagrantfile"), words("ruby jruby")},
        {u"Rust"_s, u"rust"_s, words("rs"), {}, {}, rustWords},
        {u"Scala"_s, u"words"_s, words("scala sc"), {}, {}, scalaWords},
        {u"Shell"_s, u"bash"_s, words("sh bash zsh ksh dash profile"),
         words(".bashrc .bash_profile .bash_aliases .profile .zshrc .xinitrc .bash_logout pkgbuild crontab"), words("sh bash zsh dash ksh ash busybox")},
        {u"SQL"_s, u"sql"_s, words("sql ddl")},
        {u"Swift"_s, u"words"_s, words("swift"), {}, {}, swiftWords},
        {u"Tcl"_s, u"tcl"_s, words("tcl tk exp"), {}, words("tclsh wish expect")},
        {u"TeX"_s, u"tex"_s, words("tex sty cls bib")},
        {u"TOML"_s, u"properties"_s, words("toml"), words("cargo.lock poetry.lock pipfile")},
        {u"TypeScript"_s, u"words"_s, words("ts mts cts tsx"), {}, words("deno"), typeScriptWords},
        {u"Verilog"_s, u"verilog"_s, words("v vh sv svh")},
        {u"VHDL"_s, u"vhdl"_s, words("vhd vhdl")},
        {u"XML"_s, u"xml"_s, words("xml xsl xslt xsd svg plist ui qrc kml gpx rss atom wsdl")},
        {u"YAML"_s, u"yaml"_s, words("yaml yml"), words(".clang-format .clang-tidy .clangd")},
    };
}
// clang-format on

/// "python" of "#!/usr/bin/env -S python3.11 -u".
QString interpreterIn(QStringView line)
{
    const QStringList parts = line.sliced(2).toString().simplified().split(u' ');
    for (const QString &part : parts) {
        QString program = part.section(u'/', -1);
        if (program == u"env"_s || program.startsWith(u'-') || program.contains(u'='))
            continue;
        while (!program.isEmpty() && (program.back().isDigit() || program.back() == u'.'))
            program.chop(1);
        return program;
    }
    return {};
}

const Language *byFirstLine(QStringView line)
{
    if (line.startsWith("#!"_L1)) {
        const QString interpreter = interpreterIn(line);
        const auto found = std::ranges::find_if(
            all(), [&](const Language &language) { return language.interpreters.contains(interpreter); });
        return found == all().cend() ? nullptr : &*found;
    }
    if (line.startsWith("<?xml"_L1))
        return &named(u"XML"_s);
    if (line.startsWith("<?php"_L1))
        return &named(u"PHP"_s);
    if (line.startsWith("<!doctype html"_L1, Qt::CaseInsensitive) || line.startsWith("<html"_L1, Qt::CaseInsensitive))
        return &named(u"HTML"_s);
    if (line.startsWith("diff --git "_L1))
        return &named(u"Diff"_s);
    return nullptr;
}

} // namespace

const QList<Language> &all()
{
    static const QList<Language> table = makeTable();
    return table;
}

const Language &of(const QString &fileName, const QByteArray &text)
{
    const QString name = fileName.toLower();
    const auto byName =
        std::ranges::find_if(all(), [&](const Language &language) { return language.fileNames.contains(name); });
    if (byName != all().cend())
        return *byName;
    // "x.conf.bak" and "service.log.1" are told by what is before such an end.
    static const QStringList skipped = words("bak orig old in dist example sample default template");
    QStringList parts = name.split(u'.').sliced(1);
    while (parts.size() > 1 && skipped.contains(parts.constLast()))
        parts.removeLast();
    const QString suffix = parts.isEmpty() ? name : parts.constLast();
    const auto bySuffix =
        std::ranges::find_if(all(), [&](const Language &language) { return language.suffixes.contains(suffix); });
    if (!parts.isEmpty() && bySuffix != all().cend())
        return *bySuffix;
    constexpr qsizetype longest = 200;
    const QByteArray head = text.left(longest);
    const auto end = std::ranges::find_if(head, [](char c) { return c == '\n' || c == '\r'; });
    const Language *language = byFirstLine(QString::fromUtf8(head.left(end - head.begin())));
    return language ? *language : all().constFirst();
}

const Language &named(const QString &name)
{
    const auto found = std::ranges::find(all(), name, &Language::name);
    return found == all().cend() ? all().constFirst() : *found;
}

} // namespace moorix::languages
