// SPDX-License-Identifier: GPL-3.0-or-later
// backup list, run, add, edit, remove and passphrase.
#include "app/cli/BackupOptions.h"
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "backup/BackupHistoryStore.h"
#include "backup/BackupLedger.h"
#include "backup/BackupNames.h"
#include "backup/BackupSchedule.h"
#include "backup/BackupStaging.h"
#include "backup/BackupStore.h"
#include "base/Json.h"
#include "files/Format.h"
#include "servers/KeychainStore.h"

#include <QCommandLineParser>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

QString lastGoodText(const std::optional<BackupJobState> &state)
{
    return state && state->lastGoodRun ? u"last good archive "_s + Format::date(state->lastGoodRun->toLocalTime())
                                       : u"no good archive yet"_s;
}

void printJson(CommandContext &context)
{
    JsonWriter writer;
    writer.beginObject();
    writer.key(u"jobs");
    writer.beginArray();
    for (const BackupJob &job : context.backups().jobs())
        job.writeJson(writer);
    writer.endArray();
    writer.key(u"lastGoodRuns");
    writer.beginObject();
    for (const BackupJob &job : context.backups().jobs()) {
        const auto state = context.backupHistory().state(job.id);
        writer.field(uuidText(job.id), state ? state->lastGoodRun : std::nullopt);
    }
    writer.endObject();
    writer.endObject();
    console::printBytes(writer.bytes());
}

ExitCode runList(const QCommandLineParser &parser, CommandContext &context)
{
    if (parser.isSet(u"json"_s)) {
        printJson(context);
        return ExitCode::done;
    }
    for (const BackupJob &job : context.backups().jobs()) {
        const QString schedule = job.enabled ? BackupSchedule::scheduleDescription(job) : u"Not scheduled"_s;
        const QString status = job.lastStatus.isEmpty() ? u"Never run"_s : job.lastStatus.section(u'\n', 0, 0);
        console::print(u"%1  %2 %3 %4, %5\n"_s.arg(uuidText(job.id), Format::display(job.name).leftJustified(24),
                                                   schedule.leftJustified(30), status,
                                                   lastGoodText(context.backupHistory().state(job.id))));
    }
    return ExitCode::done;
}

void showProgress(const BackupProgress &progress)
{
    const QString percent =
        progress.bytesTotal > 0 ? u" %1 %"_s.arg(progress.bytesDone * 100 / progress.bytesTotal) : QString();
    console::showProgress(progress.text + percent);
}

ExitCode runRun(const QCommandLineParser &parser, CommandContext &context)
{
    BackupStaging::removeDead();
    const QUuid id = context.backup(parser.positionalArguments().constFirst()).id;
    const BackupLedger::Begun begun = context.backupLedger().begin(id);
    BackupRun run(begun.job, context.backupEnvironment(), begun.surroundings,
                  console::showsProgress() ? showProgress : BackupRun::Report());
    const BackupOutcome outcome = run.run(systemNow(), context.stop());
    console::showProgress({});
    context.backupLedger().end(id, outcome);
    for (const QString &note : outcome.notes)
        console::complain(note);
    if (outcome.wasCancelled)
        throw Cancelled();
    if (!outcome.succeeded())
        throw Error(u"Backup"_s, outcome.failure);
    console::print(u"%1\n"_s.arg(Format::join(begun.job.destinationPath, outcome.archive)));
    return ExitCode::done;
}

/// On a terminal it is asked for twice: nobody could open the archives with a slip in it.
QString newPassphrase(CommandContext &context)
{
    const QString passphrase = readPassphrase(u"Passphrase: "_s, context.stop());
    if (console::canAsk() && readPassphrase(u"Once more: "_s, context.stop()) != passphrase)
        throw UsageError(u"The two passphrases differ."_s);
    return passphrase;
}

void storePassphrase(const BackupJob &job, const QString &passphrase, CommandContext &context)
{
    if (!context.keychain().set(passphrase, job.id, SecretKind::passphrase))
        throw Error(u"Backup"_s, u"The passphrase was not stored: %1"_s.arg(context.keychain().lastProblem()));
}

void save(const BackupJob &job, CommandContext &context)
{
    if (const auto problem = BackupNames::problem(job, context.backups().jobs()))
        throw UsageError(*problem);
    context.backups().upsert(job);
    if (!context.backups().problem().isEmpty())
        throw Error(u"Backup"_s, context.backups().problem());
    context.backupHistory().follow(context.backups().jobs(), systemNow());
}

ExitCode runAdd(const QCommandLineParser &parser, CommandContext &context)
{
    BackupJob job;
    applyBackupOptions(parser, job, context);
    if (const auto problem = BackupNames::problem(job, context.backups().jobs()))
        throw UsageError(*problem);
    if (job.encrypt)
        storePassphrase(job, newPassphrase(context), context);
    save(job, context);
    console::print(uuidText(job.id) + u'\n');
    return ExitCode::done;
}

ExitCode runEdit(const QCommandLineParser &parser, CommandContext &context)
{
    BackupJob job = context.backup(parser.positionalArguments().constFirst());
    applyBackupOptions(parser, job, context);
    save(job, context);
    return ExitCode::done;
}

ExitCode runPassphrase(const QCommandLineParser &parser, CommandContext &context)
{
    const BackupJob job = context.backup(parser.positionalArguments().constFirst());
    storePassphrase(job, newPassphrase(context), context);
    return ExitCode::done;
}

ExitCode runRemove(const QCommandLineParser &parser, CommandContext &context)
{
    const BackupJob job = context.backup(parser.positionalArguments().constFirst());
    context.backups().remove(job.id);
    if (!context.backups().problem().isEmpty())
        throw Error(u"Backup"_s, context.backups().problem());
    if (!context.keychain().remove(job.id, SecretKind::passphrase) && job.encrypt)
        throw Error(u"Backup"_s, u"The backup was removed, but its passphrase stays in the keychain: %1"_s.arg(
                                     context.keychain().lastProblem()));
    return ExitCode::done;
}

} // namespace

QList<Command> backupCommands()
{
    Command list{u"backup list"_s, u"[--json]"_s, u"List the backups."_s, {}, {}, {}, 0, 0, runList};
    list.details = u"--json prints {\"jobs\":[BackupJob…],\"lastGoodRuns\":{ID:date…}}."_s;
    list.examples = {u"backup list"_s};
    list.options = {{u"json"_s, u"Print one JSON object."_s}};
    Command run{u"backup run"_s, u"NAME"_s, u"Run a backup now and print its archive."_s, {}, {}, {}, 1, 1, runRun};
    run.details = u"The archive is read back before it is copied; older ones are removed after it has arrived."_s;
    run.examples = {u"backup run \"Web site\""_s};
    Command add{u"backup add"_s,
                u"--name NAME --source PATH… --to TARGET [OPTIONS]"_s,
                u"Add a backup and print its id."_s,
                {},
                {},
                backupOptions(),
                0,
                0,
                runAdd};
    add.details =
        u"With --encrypt the passphrase is read from standard input. Scheduled backups run while the window is "
        "open."_s;
    add.examples = {u"backup add --name Site --source ~/site --to /media/disk --every weekly --day friday --at 18:30"_s,
                    u"backup add --name Mail --source ~/Mail --to web-01:/srv/backup --encrypt < passphrase.txt"_s};
    Command edit{u"backup edit"_s, u"NAME [OPTIONS]"_s, u"Change a backup."_s, {}, {}, backupOptions(), 1, 1, runEdit};
    edit.details = u"What is not given stays; --source replaces all sources."_s;
    edit.examples = {u"backup edit Site --keep 14 --scheduled no"_s};
    Command passphrase{u"backup passphrase"_s, u"NAME"_s, u"Store the passphrase of a backup."_s, {}, {}, {}, 1, 1,
                       runPassphrase};
    passphrase.details = u"It is read from standard input. Archives made before open with the old one only."_s;
    passphrase.examples = {u"backup passphrase Mail < passphrase.txt"_s};
    Command remove{u"backup remove"_s, u"NAME"_s, u"Remove a backup; its archives stay."_s, {}, {}, {}, 1, 1,
                   runRemove};
    remove.examples = {u"backup remove Site"_s};
    return {list, run, add, edit, passphrase, remove};
}

} // namespace moorix
