// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "base/Json.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "sync/SyncText.h"
#include "sync/SyncWork.h"

#include <QCommandLineParser>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

enum class OnConflict { skip, local, remote, both };

OnConflict conflictAnswer(const QCommandLineParser &parser)
{
    const QString text = parser.isSet(u"on-conflict"_s) ? parser.value(u"on-conflict"_s) : u"skip"_s;
    if (text == u"skip")
        return OnConflict::skip;
    if (text == u"local")
        return OnConflict::local;
    if (text == u"remote")
        return OnConflict::remote;
    if (text == u"both")
        return OnConflict::both;
    throw UsageError(u"“%1” is no answer to conflicts; it is skip, local, remote or both."_s.arg(text));
}

void resolve(SyncPlan &plan, OnConflict answer)
{
    if (answer == OnConflict::skip)
        return;
    for (SyncRow &row : plan.rows) {
        if (row.diff.bucket != SyncBucket::conflict || row.isBlocked)
            continue;
        row.action = answer == OnConflict::local    ? SyncAction::copyToRemote
                     : answer == OnConflict::remote ? SyncAction::copyToLocal
                                                    : SyncAction::keepBoth;
    }
}

void confirm(const SyncPlan &plan, bool isConfirmed, const std::stop_token &stop)
{
    for (const SyncQuestion &question : plan.questions) {
        console::complain(question.text);
        if (isConfirmed)
            continue;
        if (!console::canAsk())
            throw Error(u"Sync"_s, u"Nothing was synced. --yes goes on in spite of this."_s);
        const QString reply = console::ask(u"Go on? [y]es, [n]o: "_s, stop);
        if (!reply.startsWith(u'y', Qt::CaseInsensitive))
            throw Cancelled();
    }
}

void writeEntry(JsonWriter &writer, QStringView name, const std::optional<SyncEntry> &entry)
{
    writer.key(name);
    if (entry)
        entry->writeJson(writer);
    else
        writer.value(QJsonValue());
}

void printJson(const QList<SyncRow> &rows, const QMap<QString, SyncLeftOut> &leftOut, const SyncPlan &plan,
               const SyncOutcome &outcome)
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"rows");
    writer.beginArray();
    for (const SyncRow &row : rows) {
        writer.beginObject();
        writer.field(u"relPath", row.diff.relPath);
        writer.field(u"bucket", rawText(row.diff.bucket));
        writeEntry(writer, u"local", row.diff.local);
        writeEntry(writer, u"remote", row.diff.remote);
        writer.field(u"result", SyncText::result(row));
        writer.endObject();
    }
    writer.endArray();
    writer.key(u"leftOut");
    writer.beginArray();
    for (auto left = leftOut.cbegin(); left != leftOut.cend(); ++left) {
        writer.beginObject();
        writer.field(u"relPath", left.key());
        writer.field(u"reason", left->reason);
        writer.endObject();
    }
    writer.endArray();
    writer.field(u"isFirst", plan.isFirst);
    writer.field(u"bytes", outcome.bytesCopied);
    writer.field(u"cancelled", outcome.wasCancelled);
    writer.key(u"notes");
    writer.beginArray();
    for (const QString &note : outcome.notes)
        writer.value(note);
    writer.endArray();
    writer.endObject();
    console::printBytes(writer.bytes());
}

void printRows(const QList<SyncRow> &rows, const QMap<QString, SyncLeftOut> &leftOut, bool isDryRun)
{
    for (const SyncRow &row : rows) {
        if (row.action == SyncAction::none || row.action == SyncAction::forget)
            continue;
        const bool isToDo = isDryRun && row.action != SyncAction::leave;
        console::print(u"%1: %2\n"_s.arg(Format::display(row.diff.relPath),
                                         isToDo ? SyncText::action(row.action).toLower() : SyncText::result(row)));
    }
    for (auto left = leftOut.cbegin(); left != leftOut.cend(); ++left) {
        if (left->why != SyncLeftOut::Why::ignored)
            console::print(u"%1: left out: %2\n"_s.arg(Format::display(left.key()), left->reason));
    }
}

SyncSetup setupFor(const QCommandLineParser &parser, CommandContext &context)
{
    const QStringList targets = parser.positionalArguments();
    const auto remote = splitTarget(targets.at(1));
    if (splitTarget(targets.at(0)) || !remote)
        throw UsageError(u"The first folder is one of this computer, the second one of a server: SERVER:PATH."_s);
    const ServerConnection server = context.server(remote->first);
    const TargetPlace local = context.place(targets.at(0));
    const TargetPlace there = context.place(targets.at(1));
    const QString key = SyncManifest::pairKey(local.path, server, there.path);
    SyncSetup setup{{local.service, local.path},
                    {there.service, there.path},
                    key,
                    server.displayName(),
                    SyncIgnore(context.savedIgnorePatterns(key) + parser.values(u"ignore"_s))};
    setup.gate = std::make_shared<TransferGate>(context.filesAtOnce());
    if (console::showsProgress())
        setup.progress = [](const SyncProgress &progress) { console::showProgress(SyncText::progress(progress)); };
    return setup;
}

ExitCode exitCode(const SyncOutcome &outcome)
{
    return outcome.openCount() > 0 ? ExitCode::partly : ExitCode::done;
}

ExitCode runSync(const QCommandLineParser &parser, CommandContext &context)
{
    const OnConflict answer = conflictAnswer(parser);
    SyncWork work(SyncStateStore(AppPaths::applicationSupport() + u"/sync"_s), setupFor(parser, context));
    SyncPlan plan = work.review(context.stop());
    console::showProgress({});
    if (!work.problem().isEmpty())
        console::complain(work.problem());
    if (plan.isFirst)
        console::complain(SyncPlanner::firstSyncNotice);
    resolve(plan, answer);
    const bool isJson = parser.isSet(u"json"_s);
    if (parser.isSet(u"dry-run"_s)) {
        for (const SyncQuestion &question : plan.questions)
            console::complain(question.text);
        if (isJson)
            printJson(plan.rows, plan.leftOut, plan, {});
        else
            printRows(plan.rows, plan.leftOut, true);
        return ExitCode::done;
    }
    confirm(plan, parser.isSet(u"yes"_s), context.stop());
    const SyncOutcome outcome = work.apply(plan, context.stop());
    console::showProgress({});
    if (isJson)
        printJson(outcome.rows, outcome.leftOut, plan, outcome);
    else
        printRows(outcome.rows, outcome.leftOut, false);
    if (!isJson) {
        if (plan.changeCount() == 0 && plan.openConflictCount() == 0)
            console::print(SyncText::summary(plan) + u'\n');
        for (const QString &note : outcome.notes)
            console::complain(note);
    }
    if (outcome.wasCancelled)
        throw Cancelled();
    if (!outcome.failure.isEmpty())
        throw Error(u"Sync"_s, outcome.failure);
    return exitCode(outcome);
}

} // namespace

QList<Command> syncCommands()
{
    Command sync{u"sync"_s,
                 u"LOCAL SERVER:PATH [--dry-run] [--json] [--on-conflict skip|local|remote|both]"_s,
                 u"Make a folder of this computer and one of a server alike, both ways."_s,
                 {},
                 {},
                 {},
                 2,
                 2,
                 runSync};
    sync.details =
        u"What changed on one side goes to the other; what was deleted on one side and is untouched on the other is\n"
        "deleted there, too, as long as both sides were alike before. Local files that are deleted or replaced are "
        "kept\n"
        "for 30 days in LOCAL/.moorix-sync/versions. What looks like a mistake, such as an emptied folder, is asked "
        "about.\n"
        "What the same pair leaves out in the window is left out here, too, beside what --ignore gives.\n"
        "--json prints "
        "{\"rows\":[{\"relPath\",\"bucket\",\"local\",\"remote\",\"result\"}…],\"leftOut\":[{\"relPath\",\"reason\"}…],"
        "\n"
        "\"isFirst\",\"bytes\",\"cancelled\",\"notes\":[text…]}."_s;
    sync.examples = {u"sync ~/site web-01:/var/www --dry-run"_s, u"sync ~/notes home:notes --on-conflict both"_s,
                     u"sync ~/project build:project --ignore node_modules/ --ignore '*.o'"_s};
    sync.options = {{u"dry-run"_s, u"Only say what would be done."_s},
                    {u"json"_s, u"Print one JSON object."_s},
                    {u"on-conflict"_s, u"Where both sides changed: skip, local, remote or both."_s, u"ANSWER"_s},
                    {u"ignore"_s, u"Leave out what matches; may be given several times."_s, u"PATTERN"_s},
                    {{u"y"_s, u"yes"_s}, u"Go on even if something looks like a mistake."_s}};
    return {sync};
}

} // namespace moorix
