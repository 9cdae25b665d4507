// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "base/Json.h"
#include "compare/DiffLoader.h"
#include "files/Format.h"

#include <QCommandLineParser>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using DiffEngine::Run;

QStringView lineOf(const DiffContent &content, const Run &run, qsizetype offset)
{
    return run.op == DiffOp::insert ? content.right.text.line(run.right + offset)
                                    : content.left.text.line(run.left + offset);
}

void writeRow(JsonWriter &writer, const DiffContent &content, const Run &run, qsizetype offset)
{
    const auto line = [](const DiffText &text, qsizetype index) { return QJsonValue(text.line(index).toString()); };
    const QString op = run.op == DiffOp::equal ? u"equal"_s : run.op == DiffOp::insert ? u"insert"_s : u"delete"_s;
    writer.beginObject();
    writer.field(u"op", op);
    writer.field(u"left", run.op == DiffOp::insert ? QJsonValue() : line(content.left.text, run.left + offset));
    writer.field(u"right", run.op == DiffOp::remove ? QJsonValue() : line(content.right.text, run.right + offset));
    writer.endObject();
}

void printJson(const DiffContent &content)
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"rows");
    writer.beginArray();
    for (const Run &run : content.runs) {
        for (qsizetype i = 0; i < run.count; ++i)
            writeRow(writer, content, run, i);
    }
    writer.endArray();
    const DiffEngine::Stats stats = DiffEngine::stats(content.runs);
    writer.field(u"added", qint64(stats.added));
    writer.field(u"removed", qint64(stats.removed));
    writer.endObject();
    console::printBytes(writer.bytes());
}

/// Changes that stand close together, with the equal lines around them.
using Hunk = QList<Run>;

QList<Hunk> hunksOf(const QList<Run> &runs)
{
    constexpr qsizetype context = 3;
    QList<Hunk> hunks;
    Run before;
    bool isOpen = false;
    for (const Run &run : runs) {
        if (run.op != DiffOp::equal) {
            if (!isOpen)
                hunks.append(before.count > 0 ? Hunk{before} : Hunk{});
            isOpen = true;
            hunks.last().append(run);
            continue;
        }
        const bool isLast = &run == &runs.constLast();
        const qsizetype tail = std::min(run.count, context);
        const bool isShort = run.count <= 2 * context && !isLast;
        if (isOpen)
            hunks.last().append({run.op, run.left, run.right, isShort ? run.count : tail});
        isOpen = isOpen && isShort;
        before = {run.op, run.left + run.count - tail, run.right + run.count - tail, tail};
    }
    return hunks;
}

QString hunkHead(const Hunk &hunk)
{
    qsizetype left = 0;
    qsizetype right = 0;
    for (const Run &run : hunk) {
        left += run.op == DiffOp::insert ? 0 : run.count;
        right += run.op == DiffOp::remove ? 0 : run.count;
    }
    const Run &first = hunk.constFirst();
    return u"@@ -%1,%2 +%3,%4 @@\n"_s.arg(first.left + 1).arg(left).arg(first.right + 1).arg(right);
}

void printHunks(const DiffContent &content, const QStringList &names)
{
    const QList<Hunk> hunks = hunksOf(content.runs);
    if (hunks.isEmpty())
        return;
    console::print(u"--- %1\n+++ %2\n"_s.arg(Format::display(names.at(0)), Format::display(names.at(1))));
    for (const Hunk &hunk : hunks) {
        console::print(hunkHead(hunk));
        for (const Run &run : hunk) {
            const QChar sign = run.op == DiffOp::equal ? u' ' : run.op == DiffOp::insert ? u'+' : u'-';
            for (qsizetype i = 0; i < run.count; ++i)
                console::print(sign + lineOf(content, run, i).toString() + u'\n');
        }
    }
}

void remark(const DiffContent &content, const QStringList &names)
{
    const DiffContent::Side *sides[] = {&content.left, &content.right};
    for (int i = 0; i < 2; ++i) {
        if (sides[i]->encoding == TextEncoding::latin1)
            console::complain(u"“%1” is not UTF-8 and was read as Latin-1."_s.arg(Format::display(names.at(i))));
    }
    if (content.left.encoding != content.right.encoding && DiffEngine::stats(content.runs) == DiffEngine::Stats{})
        console::complain(u"The lines are the same, but not the bytes: one is %1, the other %2."_s.arg(
            nameOf(*content.left.encoding), nameOf(*content.right.encoding)));
}

DiffOptions optionsOf(const QCommandLineParser &parser)
{
    using Space = DiffOptions::Space;
    const QHash<QString, Space> spaces{
        {u"ends"_s, Space::ignoredAtEnds}, {u"amount"_s, Space::amountIgnored}, {u"all"_s, Space::ignored}};
    const QString space = parser.value(u"ignore-space"_s);
    if (parser.isSet(u"ignore-space"_s) && !spaces.contains(space))
        throw UsageError(u"--ignore-space takes “ends”, “amount” or “all”, not “%1”."_s.arg(Format::display(space)));
    return {spaces.value(space, Space::compared), parser.isSet(u"ignore-case"_s)};
}

/// What is there is looked at when it is loaded.
FileItem fileAt(const TargetPlace &place)
{
    FileItem file;
    file.path = place.path;
    file.name = Format::fileName(place.path);
    return file;
}

ExitCode runDiff(const QCommandLineParser &parser, CommandContext &context)
{
    const DiffOptions options = optionsOf(parser);
    const QStringList names = parser.positionalArguments();
    const TargetPlace left = context.place(names.at(0));
    const TargetPlace right = context.place(names.at(1));
    const DiffPair pair{newUuid(), fileAt(left), fileAt(right), left.service, right.service};
    const DiffContent content = DiffLoader::load(pair, options, context.stop());
    if (!content.obstacle.isEmpty())
        throw Error(u"Compare"_s, content.obstacle);
    remark(content, names);
    if (parser.isSet(u"json"_s))
        printJson(content);
    else
        printHunks(content, names);
    return ExitCode::done;
}

} // namespace

QList<Command> diffCommands()
{
    Command diff{u"diff"_s,
                 u"TARGET TARGET [--ignore-space ends|amount|all] [--ignore-case] [--json]"_s,
                 u"Compare two files line by line."_s,
                 {},
                 {},
                 {},
                 2,
                 2,
                 runDiff};
    diff.details = u"Prints what differs with three lines around it, nothing where all lines are equal. Files of up to "
                   "5 MiB.\n--json prints {\"rows\":[{\"op\",\"left\",\"right\"}…],\"added\",\"removed\"}: op is "
                   "equal, insert or delete, and the\nside without a line is null. A text that ends in a line break "
                   "has an empty last line.\n--ignore-space ends ignores white space "
                   "at the ends of lines, and with it CRLF against LF; amount, how much of it there\nis as well; all, "
                   "whether there is any."_s;
    diff.examples = {u"diff nginx.conf web-01:/etc/nginx/nginx.conf"_s,
                     u"diff web-01:/etc/hosts web-02:/etc/hosts --json"_s};
    diff.options = {{u"ignore-space"_s, u"White space that makes no difference: ends, amount or all."_s, u"which"_s},
                    {u"ignore-case"_s, u"Capital and small letters are the same."_s},
                    {u"json"_s, u"Print one JSON object."_s}};
    return {diff};
}

} // namespace moorix
