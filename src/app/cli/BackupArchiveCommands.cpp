// SPDX-License-Identifier: GPL-3.0-or-later
// backup contents, verify, restore and decrypt.
#include "app/cli/BackupOptions.h"
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "backup/ArchiveCipher.h"
#include "backup/ArchiveExtraction.h"
#include "backup/BackupArchive.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "servers/KeychainStore.h"

#include <QCommandLineParser>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void showProgress(const QString &what, qint64 done, qint64 total)
{
    if (total > 0)
        console::showProgress(u"%1 %2 %"_s.arg(what).arg(done * 100 / total));
}

QString passphraseFor(const QCommandLineParser &parser, CommandContext &context)
{
    if (!parser.isSet(u"job"_s))
        return readPassphrase(u"Passphrase: "_s, context.stop());
    const BackupJob job = context.backup(parser.value(u"job"_s));
    const auto stored = context.keychain().get(job.id, SecretKind::passphrase);
    if (!stored)
        throw Error(u"Backup"_s, u"No passphrase is stored for “%1”."_s.arg(job.name));
    return *stored;
}

std::shared_ptr<BackupArchive> openArchive(const QCommandLineParser &parser, CommandContext &context)
{
    const TargetPlace place = context.place(parser.positionalArguments().constFirst());
    // Of an archive on a server only the name tells before it is here.
    const bool isEncrypted = place.isLocal ? BackupArchive::isEncrypted(place.path) : place.path.endsWith(u".enc"_s);
    const auto passphrase = isEncrypted ? std::optional(passphraseFor(parser, context)) : std::nullopt;
    const auto progress = [](qint64 done, qint64 total) { showProgress(u"Reading the archive"_s, done, total); };
    auto archive = BackupArchive::fetch(*place.service, place.path, passphrase, progress, context.stop());
    console::showProgress({});
    return archive;
}

ExitCode runContents(const QCommandLineParser &parser, CommandContext &context)
{
    const auto archive = openArchive(parser, context);
    for (const ZipEntry &entry : archive->entries()) {
        const QString date = entry.modified ? entry.modified->toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s) : QString();
        const QString slash = entry.isFolder ? u"/"_s : QString();
        console::print(u"%1 %2  %3%4\n"_s.arg(QString::number(entry.size).rightJustified(14), date.leftJustified(16),
                                              Format::display(entry.path), slash));
    }
    return ExitCode::done;
}

ExitCode runVerify(const QCommandLineParser &parser, CommandContext &context)
{
    const auto archive = openArchive(parser, context);
    const QString verdict =
        archive->verify([](qint64 done, qint64 total) { showProgress(u"Checking"_s, done, total); }, context.stop());
    console::showProgress({});
    console::print(verdict + u'\n');
    return ExitCode::done;
}

TransferConflictPolicy policyOf(const QCommandLineParser &parser)
{
    const QString text = parser.isSet(u"conflict"_s) ? parser.value(u"conflict"_s) : u"skip"_s;
    const auto policy = transferConflictPolicyFromRaw(text);
    if (!policy || *policy == TransferConflictPolicy::ask)
        throw UsageError(u"“%1” is no answer to conflicts; it is skip, overwrite or rename."_s.arg(text));
    return *policy;
}

ExitCode runRestore(const QCommandLineParser &parser, CommandContext &context)
{
    ArchiveExtraction::Callbacks callbacks;
    callbacks.policy = policyOf(parser);
    callbacks.progress = [](const QString &name, qint64 done, qint64 total) {
        showProgress(Format::display(name).left(40), done, total);
    };
    const TargetPlace folder = context.place(parser.positionalArguments().at(1));
    if (!folder.isLocal)
        throw UsageError(u"Archives are restored to folders of this machine."_s);
    const auto archive = openArchive(parser, context);
    ArchiveExtraction extraction(archive->content(), folder.path, std::move(callbacks));
    const RestoreOutcome outcome = extraction.run(parser.positionalArguments().mid(2), context.stop());
    console::showProgress({});
    for (const QString &failure : outcome.failures)
        console::complain(failure);
    if (outcome.wasCancelled)
        throw Cancelled();
    const QString skipped =
        outcome.skipped > 0 ? u", %1 skipped because they exist already"_s.arg(outcome.skipped) : QString();
    console::print(
        u"%1 restored%2.\n"_s.arg(outcome.files == 1 ? u"1 file"_s : u"%1 files"_s.arg(outcome.files), skipped));
    if (outcome.failures.isEmpty())
        return ExitCode::done;
    return outcome.files + outcome.skipped == 0 ? ExitCode::failed : ExitCode::partly;
}

ExitCode runDecrypt(const QCommandLineParser &parser, CommandContext &context)
{
    const TargetPlace from = context.place(parser.positionalArguments().at(0));
    const TargetPlace to = context.place(parser.positionalArguments().at(1));
    if (!from.isLocal || !to.isLocal)
        throw UsageError(u"Both files have to be on this machine; “moorix cp” fetches one from a server."_s);
    if (!BackupArchive::isEncrypted(from.path))
        throw Error(u"Backup"_s, u"“%1” is no encrypted archive: it does not begin with “MRX1”."_s.arg(from.path));
    const ArchiveCipher cipher(passphraseFor(parser, context));
    cipher.open(
        from.path, to.path, [](qint64) {}, context.stop());
    return ExitCode::done;
}

} // namespace

QList<Command> backupArchiveCommands()
{
    const QCommandLineOption job{u"job"_s, u"Open it with the stored passphrase of this backup."_s, u"NAME"_s};
    const QString details = u"ARCHIVE is a local file or SERVER:PATH. The passphrase of an encrypted one is read from "
                            u"standard input,\nunless --job names a backup that has it."_s;
    Command contents{
        u"backup contents"_s, u"ARCHIVE [--job NAME]"_s, u"List what is in an archive."_s, details, {}, {job}, 1, 1,
        runContents};
    contents.examples = {u"backup contents /media/disk/Site-20250307-140509.zip"_s};
    Command verify{u"backup verify"_s,
                   u"ARCHIVE [--job NAME]"_s,
                   u"Check that all of an archive can be read."_s,
                   details,
                   {},
                   {job},
                   1,
                   1,
                   runVerify};
    verify.examples = {u"backup verify web-01:/srv/backup/Mail-20250307-140509.zip.enc < passphrase.txt"_s};
    Command restore{u"backup restore"_s,
                    u"ARCHIVE FOLDER [PATH…] [--job NAME] [--conflict skip|overwrite|rename]"_s,
                    u"Bring files back from an archive."_s,
                    details,
                    {},
                    {},
                    2,
                    -1,
                    runRestore};
    restore.details += u"\nPATHs are files or folders as “backup contents” lists them; without any, everything comes "
                       "back. What exists\nin FOLDER is kept unless --conflict says otherwise. Nothing is written "
                       "outside FOLDER."_s;
    restore.options = {job,
                       {u"conflict"_s, u"What to do when a file exists: skip, overwrite or rename."_s, u"POLICY"_s}};
    restore.examples = {u"backup restore Site-20250307-140509.zip ~/restored home/anna/site/index.html"_s};
    Command decrypt{u"backup decrypt"_s,
                    u"FILE.zip.enc OUT.zip [--job NAME]"_s,
                    u"Write an encrypted archive as a plain zip file."_s,
                    {},
                    {},
                    {job},
                    2,
                    2,
                    runDecrypt};
    decrypt.details =
        u"The passphrase is read from standard input. OUT.zip must not exist; it appears once all of the\n"
        "archive has been checked."_s;
    decrypt.examples = {u"backup decrypt Mail-20250307-140509.zip.enc mail.zip < passphrase.txt"_s};
    return {contents, verify, restore, decrypt};
}

} // namespace moorix
