// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "app/cli/OptionValues.h"
#include "base/Json.h"
#include "files/FileService.h"
#include "files/FileServiceError.h"
#include "files/Format.h"
#include "files/NamePattern.h"
#include "files/TransferSpeed.h"
#include "transfers/TransferRun.h"

#include <QCommandLineParser>

#include <algorithm>
#include <atomic>
#include <memory>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Where the copies go: into a folder, or, for a single source, to a name that need not exist.
struct CopyTarget
{
    TargetPlace folder;
    QString newName;
};

CopyTarget copyTarget(const QString &destination, bool isSingle, CommandContext &context)
{
    TargetPlace place = context.place(destination);
    auto item = place.service->stat(place.path, context.stop());
    if (item && item->isSymlink)
        item = place.service->followLink(*item, context.stop());
    if (item && item->isDirectory)
        return {place, {}};
    if (!isSingle || destination.endsWith(u'/'))
        throw Error(u"Files"_s, u"“%1” is no folder to copy into."_s.arg(place.path));
    const QString name = Format::fileName(place.path);
    place.path = Format::parent(place.path);
    return {place, name};
}

struct CopySource
{
    std::shared_ptr<FileService> service;
    FileItem item;
};

/// What a pattern for names stands for, in the order of names. No shell can tell that of a server.
QList<FileItem> itemsMatching(const TargetPlace &pattern, const std::stop_token &stop)
{
    const QString folder = Format::parent(pattern.path);
    const QString name = Format::fileName(pattern.path);
    QList<FileItem> items = pattern.service->list(folder, HiddenFiles::included, stop);
    items.removeIf([&name](const FileItem &item) { return !NamePattern::matches(name, item.name); });
    if (items.isEmpty())
        throw Error(u"Files"_s, u"Nothing in “%1” matches “%2”."_s.arg(folder, name));
    std::ranges::sort(items, {}, &FileItem::name);
    return items;
}

QList<FileItem> itemsOf(const TargetPlace &place, const std::stop_token &stop)
{
    if (const auto item = place.service->stat(place.path, stop))
        return {*item};
    if (place.isLocal || !NamePattern::isPattern(Format::fileName(place.path)))
        throw FileServiceError::notFound(place.path);
    return itemsMatching(place, stop);
}

/// Those that are not there are told in `failures`.
QList<CopySource> findSources(const QStringList &sources, CommandContext &context, QStringList &failures)
{
    QList<CopySource> found;
    for (const QString &source : sources) {
        const TargetPlace place = context.place(source);
        try {
            for (const FileItem &item : itemsOf(place, context.stop()))
                found.append({place.service, item});
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            failures += error.message();
        }
    }
    return found;
}

/// One request per place that sources come from.
QList<TransferRequest> requestsFor(const QList<CopySource> &sources, const CopyTarget &target)
{
    QList<TransferRequest> requests;
    for (const CopySource &source : sources) {
        if (requests.isEmpty() || requests.constLast().source != source.service) {
            TransferRequest request;
            request.source = source.service;
            request.destination = target.folder.service;
            request.targetFolder = target.folder.path;
            request.newName = target.newName;
            requests.append(request);
        }
        requests.last().items.append(source.item);
    }
    return requests;
}

/// The choice of a letter, if any.
std::optional<ConflictAnswer::Choice> choiceFor(QChar letter, const TransferConflict &conflict)
{
    using Choice = ConflictAnswer::Choice;
    switch (letter.toLower().unicode()) {
    case u's':
        return Choice::skip;
    case u'o':
        return Choice::overwrite;
    case u'n':
        return Choice::overwriteOlder;
    case u'd':
        return Choice::overwriteOtherSize;
    case u'g':
        return conflict.canResume() ? std::optional(Choice::resume) : std::nullopt;
    case u'r':
        return Choice::rename;
    case u'c':
        return Choice::cancel;
    default:
        return std::nullopt;
    }
}

/// Shows progress and asks, never both: files travel on while a question is open.
class CopyTerminal final
{
public:
    /// Any thread, but one at a time.
    void show(const TransferCounts &counts) const
    {
        if (m_isAsking)
            return;
        if (!counts.waitingFor.isEmpty()) {
            console::showProgress(u"Waiting to reconnect: %1"_s.arg(counts.waitingFor.section(u'\n', 0, 0)));
            return;
        }
        const qint64 percent = counts.bytesTotal > 0 ? counts.bytesDone * 100 / counts.bytesTotal : 0;
        console::showProgress(u"%1 %  %2 of %3  %4"_s.arg(
            QString::number(percent).rightJustified(3), Format::byteCount(counts.bytesDone),
            Format::byteCount(counts.bytesTotal), Format::display(counts.currentName).left(40)));
    }

    ConflictAnswer ask(const TransferConflict &conflict, const std::stop_token &stop)
    {
        if (!console::canAsk())
            throw Error(u"Files"_s, u"“%1” exists already"_s.arg(conflict.existing.path));
        m_isAsking = true;
        const std::shared_ptr<void> end(nullptr, [this](void *) { m_isAsking = false; });
        while (true) {
            const QString reply = console::ask(question(conflict), stop);
            const auto choice = reply.isEmpty() ? std::nullopt : choiceFor(reply.at(0), conflict);
            if (choice)
                return {*choice, reply.at(0).isUpper()};
        }
    }

private:
    static QString question(const TransferConflict &conflict)
    {
        const FileItem &existing = conflict.existing;
        const FileItem &source = conflict.source;
        return u"“%1” exists already (%2, %3; the new one %4, %5).\n"
               "[s]kip, [o]verwrite, overwrite if [n]ewer, if [d]ifferent in size, %6[r]ename, [c]ancel; a capital "
               "letter for all: "_s.arg(Format::display(existing.path), Format::byteCount(existing.size),
                                        Format::date(existing.modified), Format::byteCount(source.size),
                                        Format::date(source.modified),
                                        conflict.canResume() ? u"[g]o on where it ends, "_s : QString());
    }

    std::atomic<bool> m_isAsking = false;
};

void add(TransferOutcome &sum, const TransferOutcome &outcome)
{
    sum.counts.filesDone += outcome.counts.filesDone;
    sum.counts.bytesDone += outcome.counts.bytesDone;
    sum.counts.skipped += outcome.counts.skipped;
    sum.failures += outcome.failures;
    sum.notes += outcome.notes;
    sum.wasCancelled = outcome.wasCancelled;
}

void printJson(const TransferOutcome &outcome)
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"files", QJsonValue(outcome.counts.filesDone));
    writer.field(u"bytes", QJsonValue(outcome.counts.bytesDone));
    writer.field(u"skipped", QJsonValue(outcome.counts.skipped));
    writer.field(u"cancelled", QJsonValue(outcome.wasCancelled));
    writer.key(u"failures");
    writer.beginArray();
    for (const QString &failure : outcome.failures)
        writer.value(QJsonValue(failure));
    writer.endArray();
    writer.key(u"notes");
    writer.beginArray();
    for (const QString &note : outcome.notes)
        writer.value(QJsonValue(note));
    writer.endArray();
    writer.endObject();
    console::printBytes(writer.bytes());
}

TransferConflictPolicy policyOf(const QCommandLineParser &parser)
{
    const QString text = parser.isSet(u"conflict"_s) ? parser.value(u"conflict"_s) : u"ask"_s;
    const auto policy = transferConflictPolicyFromRaw(text);
    if (!policy)
        throw UsageError(u"“%1” is no answer to conflicts; it is ask, skip, overwrite or rename."_s.arg(text));
    return *policy;
}

ExitCode runCp(const QCommandLineParser &parser, CommandContext &context)
{
    const TransferConflictPolicy policy = policyOf(parser);
    if (parser.isSet(u"limit"_s))
        context.speed().setLimit(optionValues::speed(u"limit"_s, parser.value(u"limit"_s)));
    QStringList named = parser.positionalArguments();
    const QString destination = named.takeLast();
    TransferOutcome sum;
    const QList<CopySource> sources = findSources(named, context, sum.failures);
    const CopyTarget target = copyTarget(destination, named.size() == 1 && sources.size() <= 1, context);
    CopyTerminal terminal;
    const auto gate = std::make_shared<TransferGate>(context.filesAtOnce());
    for (TransferRequest &request : requestsFor(sources, target)) {
        request.policy = policy;
        request.check = parser.isSet(u"verify"_s) ? TransferCheck::contents : TransferCheck::size;
        TransferRun::Callbacks callbacks;
        if (console::showsProgress())
            callbacks.progress = [&terminal](const TransferCounts &counts) { terminal.show(counts); };
        callbacks.ask = [&terminal](const TransferConflict &conflict, const std::stop_token &stop) {
            return terminal.ask(conflict, stop);
        };
        callbacks.gate = gate;
        TransferRun run(std::move(request), std::move(callbacks));
        add(sum, run.run(context.stop()));
        if (sum.wasCancelled)
            break;
    }
    console::showProgress({});
    for (const QString &failure : std::as_const(sum.failures))
        console::complain(failure);
    if (parser.isSet(u"json"_s))
        printJson(sum);
    if (sum.wasCancelled)
        throw Cancelled();
    if (sum.failures.isEmpty())
        return ExitCode::done;
    return sum.counts.filesDone + sum.counts.skipped == 0 ? ExitCode::failed : ExitCode::partly;
}

} // namespace

QList<Command> copyCommands()
{
    Command cp{u"cp"_s,
               u"SOURCE… DESTINATION [--conflict ask|skip|overwrite|rename] [--limit SPEED] [--verify] [--json]"_s,
               u"Copy files and folders between any two places."_s,
               {},
               {},
               {},
               2,
               -1,
               runCp};
    cp.details =
        u"A file reaches its name only once it is whole. An existing folder as DESTINATION takes the sources in; a\n"
        "folder that exists there is merged. Without a terminal, --conflict ask counts conflicts as failures.\n"
        "A last part of a server's SOURCE with *, ? or [...] that is no name there stands for all names that fit;\n"
        "quote it, or the shell looks for it here.\n"
        "A broken connection is tried again for about a minute, and files go on where they stopped. As many files as\n"
        "the preferences say travel at once, to and from servers at most at the speed that is set there; --limit 500K\n"
        "(per second; K, M or G, or none) sets another one for this copy.\n"
        "--json prints {\"files\",\"bytes\",\"skipped\",\"cancelled\",\"failures\":[text…],\"notes\":[text…]}."_s;
    cp.examples = {u"cp ./site web-01:/var/www"_s, u"cp web-01:/var/log/syslog ./syslog.txt"_s,
                   u"cp web-01:'/var/log/*.log' ./logs"_s, u"cp web-01:/srv/data backup:/srv --conflict overwrite"_s};
    cp.options = {{u"conflict"_s, u"What to do when a file exists: ask, skip, overwrite or rename."_s, u"POLICY"_s},
                  {{u"r"_s, u"recursive"_s}, u"Of no effect: folders are copied with all that is in them anyway."_s},
                  {u"limit"_s, u"How fast files may travel to and from servers: 500K, 2.5M, none."_s, u"SPEED"_s},
                  {u"verify"_s, u"Compare the contents of both sides by SHA-256 afterwards, where the server can."_s},
                  {u"json"_s, u"Print one JSON object."_s}};
    return {cp};
}

} // namespace moorix
