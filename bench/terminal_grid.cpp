// SPDX-License-Identifier: GPL-3.0-or-later
// Plays bytes to a terminal and prints what it shows then, as docs/terminal-grid.md tells.
#include "terminal/TerminalEmulator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <stdexcept>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

QJsonValue toJson(TerminalColor color)
{
    if (color.isIndexed())
        return color.index();
    return u"#%1"_s.arg(color.rgb(), 6, 16, QChar(u'0'));
}

QJsonObject toJson(const TerminalEmulator &emulator, const TerminalStyle &style)
{
    QJsonObject object;
    if (!style.foreground.isDefault())
        object["foreground"_L1] = toJson(style.foreground);
    if (!style.background.isDefault())
        object["background"_L1] = toJson(style.background);
    const auto flag = [&](QLatin1StringView name, bool isSet) {
        if (isSet)
            object[name] = true;
    };
    flag("bold"_L1, style.bold);
    flag("dim"_L1, style.dim);
    flag("italic"_L1, style.italic);
    flag("blink"_L1, style.blink);
    flag("reverse"_L1, style.reverse);
    flag("hidden"_L1, style.hidden);
    flag("strike"_L1, style.strike);
    if (style.underline != TerminalUnderline::none)
        object["underline"_L1] = style.underline == TerminalUnderline::single    ? u"single"_s
                                 : style.underline == TerminalUnderline::twofold ? u"double"_s
                                                                                 : u"curly"_s;
    if (style.link != 0)
        object["link"_L1] = emulator.link(style.link);
    return object;
}

QJsonArray runs(const TerminalEmulator &emulator, std::span<const TerminalCell> cells)
{
    QJsonArray runs;
    for (std::size_t start = 0, end = 0; start < cells.size(); start = end) {
        while (end < cells.size() && cells[end].style == cells[start].style)
            ++end;
        QJsonObject run = toJson(emulator, cells[start].style);
        // The default, or one that is only protected.
        if (run.isEmpty())
            continue;
        run["start"_L1] = int(start);
        run["columns"_L1] = int(end - start);
        runs.append(run);
    }
    return runs;
}

QJsonObject line(const TerminalEmulator &emulator, qint64 number)
{
    std::span<const TerminalCell> cells = emulator.line(number);
    while (!cells.empty() && (cells.back().character == 0 || cells.back().character == U' ') &&
           cells.back().width == 1 && cells.back().style == TerminalStyle())
        cells = cells.first(cells.size() - 1);
    QString text;
    for (const TerminalCell &cell : cells) {
        if (cell.width > 0)
            text += cell.character == 0 ? u" "_s : emulator.text(cell);
    }
    QJsonObject object{{u"text"_s, text}};
    if (emulator.wraps(number))
        object["wraps"_L1] = true;
    static const QStringList sizes{u"single"_s, u"wide"_s, u"upperHalf"_s, u"lowerHalf"_s};
    if (const TerminalLineSize size = emulator.lineSize(number); size != TerminalLineSize::single)
        object["size"_L1] = sizes[int(size)];
    if (const QJsonArray found = runs(emulator, cells); !found.isEmpty())
        object["runs"_L1] = found;
    return object;
}

QJsonArray lines(const TerminalEmulator &emulator, qint64 from, qint64 to)
{
    QJsonArray lines;
    for (qint64 number = from; number < to; ++number)
        lines.append(line(emulator, number));
    return lines;
}

QJsonObject cursor(const TerminalEmulator &emulator)
{
    const TerminalCursor cursor = emulator.cursor();
    const QString shape = cursor.shape == TerminalCursor::Shape::block       ? u"block"_s
                          : cursor.shape == TerminalCursor::Shape::underline ? u"underline"_s
                                                                             : u"bar"_s;
    return {{u"row"_s, cursor.position.line - emulator.screenLine()},
            {u"column"_s, cursor.position.column},
            {u"visible"_s, cursor.visible},
            {u"blinks"_s, cursor.blinks},
            {u"shape"_s, shape}};
}

QJsonObject modes(const TerminalEmulator &emulator)
{
    static const QStringList mice{u"none"_s, u"clicks"_s, u"drags"_s, u"motion"_s};
    return {{u"alternateScreen"_s, emulator.showsAlternateScreen()},
            {u"bracketedPaste"_s, emulator.bracketsPastes()},
            {u"reversed"_s, emulator.isReversed()},
            {u"synchronizedUpdate"_s, emulator.holdsPainting()},
            {u"mouse"_s, mice[int(emulator.mouse())]}};
}

struct Options
{
    TerminalSize size;
    qsizetype chunk = 64 * 1024;
    int limit = 100'000;
    std::vector<TerminalSize> resizes;
    bool scrollback = false;
    QString file;
};

int number(const QString &text, const QString &name)
{
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (!isNumber || value < 1)
        throw std::runtime_error(u"“%1” is no value for %2."_s.arg(text, name).toStdString());
    return value;
}

Options parse(const QCoreApplication &application)
{
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addPositionalArgument(u"file"_s, u"The bytes; standard input if there is none."_s);
    parser.addOptions({{u"rows"_s, u"Rows of the screen."_s, u"N"_s, u"24"_s},
                       {u"columns"_s, u"Columns of the screen."_s, u"N"_s, u"80"_s},
                       {u"chunk"_s, u"Bytes that are fed at a time."_s, u"N"_s, u"65536"_s},
                       {u"limit"_s, u"Lines kept above the screen."_s, u"N"_s, u"100000"_s},
                       {u"resize"_s, u"A resize at the end."_s, u"R,C"_s},
                       {u"scrollback"_s, u"Print the lines above the screen, too."_s}});
    parser.process(application);
    Options options;
    options.size = {number(parser.value(u"rows"_s), u"--rows"_s), number(parser.value(u"columns"_s), u"--columns"_s)};
    options.chunk = number(parser.value(u"chunk"_s), u"--chunk"_s);
    options.limit = number(parser.value(u"limit"_s), u"--limit"_s);
    for (const QString &resize : parser.values(u"resize"_s))
        options.resizes.push_back(
            {number(resize.section(u',', 0, 0), u"--resize"_s), number(resize.section(u',', 1), u"--resize"_s)});
    options.scrollback = parser.isSet(u"scrollback"_s);
    options.file = parser.positionalArguments().value(0);
    return options;
}

QByteArray read(const QString &name)
{
    QFile file(name);
    if (name.isEmpty() ? !file.open(stdin, QIODevice::ReadOnly) : !file.open(QIODevice::ReadOnly))
        throw std::runtime_error(u"“%1” cannot be read: %2."_s.arg(name, file.errorString()).toStdString());
    return file.readAll();
}

QJsonObject play(const Options &options)
{
    TerminalEmulator emulator(options.size);
    emulator.setScrollbackLimit(options.limit);
    QJsonObject result;
    QByteArray output;
    int bells = 0;
    QObject::connect(&emulator, &TerminalEmulator::output, &emulator,
                     [&](const QByteArray &bytes) { output += bytes; });
    QObject::connect(&emulator, &TerminalEmulator::bell, &emulator, [&] { ++bells; });
    QObject::connect(&emulator, &TerminalEmulator::clipboardWritten, &emulator,
                     [&](const QString &text) { result["clipboard"_L1] = text; });
    const QByteArray bytes = read(options.file);
    for (qsizetype at = 0; at < bytes.size(); at += options.chunk)
        emulator.feed(QByteArrayView(bytes).sliced(at, std::min(options.chunk, bytes.size() - at)));
    for (const TerminalSize &size : options.resizes)
        emulator.resize(size);

    result["rows"_L1] = emulator.size().rows;
    result["columns"_L1] = emulator.size().columns;
    result["screen"_L1] = lines(emulator, emulator.screenLine(), emulator.endLine());
    result["scrollbackLines"_L1] = emulator.screenLine() - emulator.firstLine();
    if (options.scrollback)
        result["scrollback"_L1] = lines(emulator, emulator.firstLine(), emulator.screenLine());
    result["cursor"_L1] = cursor(emulator);
    result["title"_L1] = emulator.title();
    result["workingFolder"_L1] = emulator.workingFolder();
    result["workingHost"_L1] = emulator.workingHost();
    result["modes"_L1] = modes(emulator);
    result["output"_L1] = QString::fromLatin1(output);
    result["bells"_L1] = bells;
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    try {
        const QByteArray json = QJsonDocument(play(parse(application))).toJson(QJsonDocument::Compact) + '\n';
        std::fwrite(json.constData(), 1, std::size_t(json.size()), stdout);
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
