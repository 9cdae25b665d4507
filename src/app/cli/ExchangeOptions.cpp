// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/ExchangeOptions.h"

#include "app/InstanceLock.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "app/exchange/ExchangeFile.h"
#include "app/exchange/ImportPlan.h"
#include "app/exchange/ImportSource.h"
#include "base/Clock.h"
#include "base/JsonFile.h"
#include "files/Format.h"
#include "servers/KeychainStore.h"
#include "servers/ServerStore.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace moorix::exchangeOptions {

using namespace Qt::StringLiterals;

namespace {

using Kind = ExchangeContent::Kind;
using Origin = ExchangeContent::Origin;
using Mode = ImportChoice::Mode;

const QList<std::pair<QString, Origin>> origins{
    {u"moorix"_s, Origin::moorix}, {u"filezilla"_s, Origin::fileZilla}, {u"openssh"_s, Origin::openSSH}};

ExitCode runExport(const QCommandLineParser &parser, CommandContext &context, Kind kind)
{
    const QString file = parser.positionalArguments().constFirst();
    const QByteArray bytes = exchangeFile::encode(context.exchange().documents(), kind, systemNow());
    if (file == u"-") {
        console::printBytes(bytes);
        return ExitCode::done;
    }
    const QString path = QDir::current().absoluteFilePath(file);
    if (QFileInfo(path).isDir())
        throw Error(u"Export"_s, u"“%1” is a folder; a file is to be named."_s.arg(file));
    // A device or a pipe would be replaced as well.
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile())
        throw Error(u"Export"_s, u"“%1” is no file."_s.arg(file));
    if (!parser.isSet(u"force"_s) && (QFileInfo::exists(path) || QFileInfo(path).isSymLink()))
        throw Error(u"Export"_s, u"“%1” exists already. With --force it is replaced."_s.arg(file));
    jsonFile::write(path, bytes);
    return ExitCode::done;
}

std::optional<Origin> originOf(const QCommandLineParser &parser)
{
    if (!parser.isSet(u"from"_s))
        return std::nullopt;
    const QString wanted = parser.value(u"from"_s);
    for (const auto &[name, origin] : origins) {
        if (name == wanted)
            return origin;
    }
    throw UsageError(u"“%1” is none of moorix, filezilla and openssh."_s.arg(wanted));
}

ExchangeContent contentOf(const QCommandLineParser &parser, CommandContext &context, Kind kind)
{
    const QString file = parser.positionalArguments().constFirst();
    const std::optional<Origin> origin = originOf(parser);
    ExchangeContent content =
        file == u"-"
            ? importSource::decode(console::readAll(importSource::largestFileBytes + 1, context.stop()),
                                   u"Standard input"_s, origin, *context.processes(), context.stop())
            : importSource::read(QDir::current().absoluteFilePath(file), origin, *context.processes(), context.stop());
    if (kind == Kind::servers)
        content.kind = Kind::servers;
    return content;
}

QString lineOf(const ImportRow &row, const ImportChoice &choice)
{
    using enum ImportRow::Change;
    const bool isTaken = choice.taken.contains(row.key) || choice.mode == Mode::replace;
    const QString verb = row.change == removed            ? u"remove"_s
                         : row.change == same || !isTaken ? u"keep"_s
                         : row.change == differs          ? u"change"_s
                                                          : u"add"_s;
    const QHash<ImportRow::What, QString> nouns{{ImportRow::What::folder, u"folder"_s},
                                                {ImportRow::What::server, u"server"_s},
                                                {ImportRow::What::backup, u"backup"_s},
                                                {ImportRow::What::syncPair, u"folder pair"_s},
                                                {ImportRow::What::setting, u"setting"_s}};
    QString line = u"%1  %2  %3"_s.arg(verb.leftJustified(6), nouns.value(row.what).leftJustified(11), row.name);
    if (!row.place.isEmpty())
        line += u"  (%1)"_s.arg(row.place);
    if (!row.details.isEmpty())
        line += u"  "_s + row.details.join(u"; "_s);
    // A foreign file may hold what would drive the terminal.
    return Format::display(line);
}

/// Returns why some are not in the keychain, or nothing.
QString storePasswords(const ExchangeContent &content, CommandContext &context)
{
    QString problem;
    for (auto password = content.passwords.begin(); password != content.passwords.end(); ++password) {
        if (context.servers().server(password.key()) &&
            !context.keychain().set(password.value(), password.key(), SecretKind::password))
            problem = context.keychain().lastProblem();
    }
    return problem;
}

/// An open window holds the settings in memory and would write its own over those of an import.
void refuseBesideWindow(const QList<ImportRow> &rows, const ImportChoice &choice)
{
    const bool changesSettings = std::ranges::any_of(rows, [&choice](const ImportRow &row) {
        return row.what == ImportRow::What::setting && row.change == ImportRow::Change::differs &&
               (choice.mode == Mode::replace || choice.taken.contains(row.key));
    });
    if (changesSettings && InstanceLock().holder()) {
        throw Error(u"Import"_s, u"Moorix's window is open, and would write its settings over the imported ones. Close "
                                 "it first, or import in the window (File › Import…)."_s);
    }
}

ExitCode carryOut(const ExchangeContent &content, const QList<ImportRow> &rows, const ImportChoice &choice,
                  bool wantsPasswords, CommandContext &context)
{
    const QList<documentCopies::Copy> copies = documentCopies::make(systemNow());
    try {
        context.exchange().apply(content, choice, copies);
    } catch (const Error &) {
        documentCopies::remove(copies);
        throw;
    }
    console::print(u"%1.\n"_s.arg(importPlan::counts(rows, choice).text()));
    if (importPlan::losesAnything(rows, choice)) {
        for (const documentCopies::Copy &copy : copies)
            console::complain(u"What was there before is kept as “%1”."_s.arg(copy.copy));
    } else {
        documentCopies::remove(copies);
    }
    if (!wantsPasswords)
        return ExitCode::done;
    const QString problem = storePasswords(content, context);
    if (problem.isEmpty())
        return ExitCode::done;
    console::complain(u"Not all passwords are in the keychain: %1"_s.arg(problem));
    return ExitCode::partly;
}

ExitCode runImport(const QCommandLineParser &parser, CommandContext &context, Kind kind)
{
    const ExchangeContent content = contentOf(parser, context, kind);
    const Mode mode = parser.isSet(u"replace"_s) ? Mode::replace : Mode::merge;
    if (mode == Mode::replace && content.origin != Origin::moorix)
        throw UsageError(u"--replace is for exports of Moorix; what other programs keep can only be added."_s);
    const QList<ImportRow> rows = importPlan::rows(content, context.exchange().documents(), mode);
    const ImportChoice choice =
        usualChoice(rows, mode, parser.isSet(u"keep"_s) ? KnownRecords::keep : KnownRecords::update);
    for (const QString &note : content.notes)
        console::complain(Format::display(note));
    if (parser.isSet(u"dry-run"_s)) {
        for (const ImportRow &row : rows)
            console::print(lineOf(row, choice) + u'\n');
        console::print(u"%1.\n"_s.arg(importPlan::counts(rows, choice).forecast()));
        return ExitCode::done;
    }
    refuseBesideWindow(rows, choice);
    return carryOut(content, rows, choice, parser.isSet(u"passwords"_s), context);
}

} // namespace

Command exportCommand(const QString &what, Kind kind)
{
    const bool isWhole = kind == Kind::configuration;
    Command command;
    command.name = what + u" export"_s;
    command.arguments = u"FILE|- [--force]"_s;
    command.summary = isWhole ? u"Write settings, servers, backups and folder pairs as JSON."_s
                              : u"Write the server library as JSON."_s;
    command.details = isWhole ? u"The document is {\"format\",\"version\",\"program\",\"exported\",\"settings\","
                                "\"library\",\"backups\",\"syncPairs\"}; it never holds secrets."_s
                              : u"The document is {\"format\",\"version\",\"program\",\"exported\",\"folders\":[…],"
                                "\"servers\":[…]}; it never holds secrets."_s;
    command.options = {{u"force"_s, u"Replace a file that exists."_s}};
    command.examples = {what + u" export "_s + exchangeFile::usualName(kind)};
    if (!isWhole)
        command.examples += u"servers export - | jq '.servers[].host'"_s;
    command.minimumArguments = command.maximumArguments = 1;
    command.run = [kind](const QCommandLineParser &parser, CommandContext &context) {
        return runExport(parser, context, kind);
    };
    return command;
}

Command importCommand(const QString &what, Kind kind)
{
    const bool isWhole = kind == Kind::configuration;
    Command command;
    command.name = what + u" import"_s;
    command.arguments = u"FILE|- [--from FORMAT] [--keep] [--replace] [--passwords] [--dry-run]"_s;
    command.summary = isWhole ? u"Import settings, servers, backups and folder pairs."_s
                              : u"Add the servers of an export, of FileZilla or of an OpenSSH configuration."_s;
    command.details =
        u"What has an id that is known replaces what is saved; a server that is saved under another id is "
        "not added once\nmore; nothing is removed, unless --replace puts the file in place of all that "
        "it covers. Either all is imported\nor nothing. Backups that are new come switched off."_s;
    command.options = {{u"from"_s,
                        u"moorix, filezilla (sitemanager.xml) or openssh (config); else found out from the file."_s,
                        u"FORMAT"_s},
                       {u"keep"_s, u"Leave what is saved under the same id as it is."_s},
                       {u"replace"_s, u"Put the file in place of what there is, which is kept as a copy."_s},
                       {u"passwords"_s, u"Put passwords that FileZilla has saved into the keychain."_s},
                       {{u"dry-run"_s, u"n"_s}, u"Show what would become of each record, and change nothing."_s}};
    command.examples = isWhole ? QStringList{u"config import Moorix-Config.json --dry-run"_s}
                               : QStringList{u"servers import Moorix-Servers.json"_s,
                                             u"servers import ~/.config/filezilla/sitemanager.xml --passwords"_s};
    command.minimumArguments = command.maximumArguments = 1;
    command.run = [kind](const QCommandLineParser &parser, CommandContext &context) {
        return runImport(parser, context, kind);
    };
    return command;
}

} // namespace moorix::exchangeOptions
