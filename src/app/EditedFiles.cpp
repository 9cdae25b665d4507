// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EditedFiles.h"

#include "app/ServerConnections.h"
#include "files/Format.h"
#include "files/LocalFileService.h"
#include "files/NativePath.h"
#include "files/RemoteFileService.h"

#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <array>

namespace moorix {

using namespace Qt::StringLiterals;
using editedVersion::Outcome;
using State = EditedFile::State;

namespace {

/// A look at a file that costs nothing and tells whether it was written since another one.
struct Stamp
{
    explicit Stamp(const QString &path)
        : size(QFileInfo(path).size())
        , modified(QFileInfo(path).lastModified())
    {
    }
    bool operator==(const Stamp &) const = default;

    qint64 size;
    QDateTime modified;
};

struct LeftOver
{
    std::shared_ptr<EditedCopy> copy;
    EditedRecord record;
};

struct Found
{
    QList<LeftOver> changed;
    /// What was never saved belongs to these.
    QList<LeftOver> awaited;
    QStringList problems;
};

bool isEmptyFolder(const QString &path)
{
    return QDir(path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

/// What earlier runs have left: what holds changes, and of the rest nothing.
Found takeOverFolders(const QString &root, const std::function<bool(const QString &)> &hasUnsavedText,
                      const std::stop_token &stop)
{
    Found found;
    for (std::shared_ptr<EditedCopy> &copy : EditedCopy::takeOver(root)) {
        try {
            const auto record = copy->load();
            const auto checksum = record ? editedVersion::checksum(*copy, *record, stop) : std::nullopt;
            if (checksum && *checksum != record->checksum)
                found.changed.append({std::move(copy), *record});
            else if (checksum && hasUnsavedText(copy->filePath(*record)))
                found.awaited.append({std::move(copy), *record});
            else if (checksum || isEmptyFolder(copy->editedFolder()))
                copy->remove();
            else
                found.problems += u"What was left of editing “%1” lies in “%2”."_s.arg(
                    Format::display(record ? record->path : QString()), copy->editedFolder());
        } catch (const Cancelled &) {
            throw;
        } catch (const Error &error) {
            found.problems += u"An edited file lies in “%1”, but nothing tells where it belongs: %2"_s.arg(
                copy->editedFolder(), error.message());
        }
    }
    return found;
}

/// How far an upload is.
struct Sent
{
    std::atomic<qint64> bytes = 0;
    std::atomic<qint64> of = 0;
};

} // namespace

struct EditedFiles::Entry
{
    std::shared_ptr<EditedCopy> copy;
    EditedRecord record;
    /// How the server was reached, for one that is not in the library.
    ServerConnection server;
    State state = State::uploaded;
    QString problem;
    /// The copy when it was last looked at and found to be what the record says, or was held back.
    std::optional<Stamp> known;
    bool mayHaveLeftovers = false;
    QTimer settling;
    std::chrono::steady_clock::time_point began;
    std::shared_ptr<Sent> sent;
    /// Looks at the copy, or uploads it.
    Job job;
    /// Saves it elsewhere, or puts it into the bin.
    Job farewell;

    QString path() const { return copy->filePath(record); }
    bool isWritten() const { return known != Stamp(path()); }
    bool isUnsent() const
    {
        return state != State::uploaded || settling.isActive() || (isWritten() && QFileInfo::exists(path()));
    }
};

EditedFiles::EditedFiles(Environment environment, QObject *parent)
    : QObject(parent)
    , m_environment(std::move(environment))
{
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &EditedFiles::notice);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &EditedFiles::notice);
    connect(&m_environment.connections, &ServerConnections::disconnected, this, &EditedFiles::holdBack);
    takeOver();
}

EditedFiles::~EditedFiles()
{
    for (const auto &entry : m_entries) {
        const bool isOnServer = entry->state == State::uploaded && !entry->isWritten();
        if (isOnServer && !m_environment.hasUnsavedText(entry->path()))
            entry->copy->remove();
    }
}

void EditedFiles::takeOver()
{
    m_takeOver = runJob([root = m_environment.root, hasUnsavedText = m_environment.hasUnsavedText](
                            const std::stop_token &stop) { return takeOverFolders(root, hasUnsavedText, stop); },
                        [this](const Found &found) {
                            for (const LeftOver &leftOver : found.awaited)
                                add(leftOver.copy, leftOver.record, State::uploaded);
                            for (const LeftOver &leftOver : found.changed)
                                add(leftOver.copy, leftOver.record, State::leftOver);
                            for (const QString &problem : found.problems)
                                emit messageRaised(problem);
                        },
                        [this](const Error &error) { emit messageRaised(error.message()); });
}

Job EditedFiles::fetch(const ServerConnection &server, std::shared_ptr<RemoteFileService> service, const FileItem &file,
                       std::shared_ptr<std::atomic<qint64>> received, std::function<void(const QString &)> done,
                       std::function<void(const Error &)> failed)
{
    const auto open = std::find_if(m_entries.crbegin(), m_entries.crend(), [&](const auto &entry) {
        return entry->record.server == server.id && entry->record.path == file.path;
    });
    const Entry *existing = open == m_entries.crend() ? nullptr : open->get();
    const bool isChangedHere = existing && (existing->state != State::uploaded || existing->isWritten());
    EditedRecord fresh;
    fresh.server = server.id;
    fresh.serverName = server.displayName();
    struct Fetched
    {
        std::shared_ptr<EditedCopy> copy;
        EditedRecord record;
    };
    const Fetched there = existing ? Fetched{existing->copy, existing->record} : Fetched{};
    return runJob(
        [=, service = std::move(service), root = m_environment.root](const std::stop_token &stop) {
            if (there.copy && (isChangedHere || editedVersion::isUnchanged(*service, *there.copy, there.record, stop)))
                return there;
            // The program that has the older copy open may still save it, so it stays what it is.
            const auto copy = editedVersion::fetch(
                *service, file, fresh, root, [received](qint64 bytes) { *received = bytes; }, stop);
            return Fetched{copy, copy->load().value_or(fresh)};
        },
        [this, server, done = std::move(done)](const Fetched &fetched) {
            if (!find(fetched.copy->id()))
                add(fetched.copy, fetched.record, State::uploaded).server = server;
            done(fetched.copy->filePath(fetched.record));
        },
        std::move(failed));
}

QList<EditedFile> EditedFiles::files() const
{
    QList<EditedFile> files;
    for (const auto &entry : m_entries) {
        const EditedRecord &record = entry->record;
        files.append({entry->copy->id(), record.server, entry->state, record.name, record.serverName, record.path,
                      entry->problem});
        if (entry->state != State::uploading)
            continue;
        files.last().began = entry->began;
        files.last().bytesDone = entry->sent->bytes;
        files.last().bytesTotal = entry->sent->of;
    }
    return files;
}

QList<EditedFile> EditedFiles::unsent() const
{
    QList<EditedFile> files = this->files();
    files.removeIf([this](const EditedFile &file) { return !find(file.id)->isUnsent(); });
    return files;
}

EditedFiles::Entry *EditedFiles::find(const QUuid &id) const
{
    const auto found = std::find_if(m_entries.cbegin(), m_entries.cend(),
                                    [&id](const auto &entry) { return entry->copy->id() == id; });
    return found == m_entries.cend() ? nullptr : found->get();
}

EditedFiles::Entry &EditedFiles::add(std::shared_ptr<EditedCopy> copy, const EditedRecord &record, State state)
{
    m_entries.push_back(std::make_unique<Entry>());
    Entry &entry = *m_entries.back();
    entry.copy = std::move(copy);
    entry.record = record;
    entry.state = state;
    entry.server.id = record.server;
    if (state == State::uploaded)
        entry.known = Stamp(entry.path());
    entry.settling.setSingleShot(true);
    entry.settling.setInterval(m_environment.settlingTime);
    connect(&entry.settling, &QTimer::timeout, this, [this, id = entry.copy->id()] { look(id); });
    watch(entry);
    emit filesChanged();
    return entry;
}

void EditedFiles::drop(const QUuid &id)
{
    std::erase_if(m_entries, [&id](const auto &entry) { return entry->copy->id() == id; });
    emit filesChanged();
}

/// Programs write into the file, or put another one in its place: the folder tells the second, and that the file has to
/// be watched anew.
void EditedFiles::watch(Entry &entry)
{
    m_watcher.addPath(entry.copy->editedFolder());
    if (NativePath::isUnicode(entry.path()) && QFileInfo::exists(entry.path()))
        m_watcher.addPath(entry.path());
}

void EditedFiles::notice(const QString &path)
{
    for (const auto &entry : m_entries) {
        if (path != entry->copy->editedFolder() && path != entry->path())
            continue;
        watch(*entry);
        if (entry->isWritten())
            entry->settling.start();
    }
}

/// A program that saves touches its file several times; what counts is what it holds in the end.
void EditedFiles::look(const QUuid &id)
{
    Entry *entry = find(id);
    // What waits for an answer is uploaded by the answer, and what is under way is looked at when it has arrived.
    constexpr std::array open{State::uploaded, State::failed, State::cancelled};
    if (!entry || std::find(open.begin(), open.end(), entry->state) == open.end())
        return;
    const Stamp stamp(entry->path());
    entry->job = runJob([copy = entry->copy, record = entry->record](
                            const std::stop_token &stop) { return editedVersion::checksum(*copy, record, stop); },
                        [this, id, stamp](const std::optional<QByteArray> &checksum) {
                            Entry &looked = *find(id);
                            if (!checksum)
                                return;
                            if (*checksum != looked.record.checksum)
                                return send(id, Guard::known);
                            looked.known = stamp;
                            setState(looked, State::uploaded);
                        },
                        [this](const Error &error) { emit messageRaised(error.message()); });
}

void EditedFiles::send(const QUuid &id, Guard guard)
{
    Entry *entry = find(id);
    if (!entry || entry->state == State::uploading)
        return;
    entry->began = std::chrono::steady_clock::now();
    entry->sent = std::make_shared<Sent>();
    setState(*entry, State::uploading);
    if (auto service = m_environment.connections.live(entry->record.server))
        return upload(id, guard, std::move(service));
    const auto fail = [this, id](const Error &error) {
        find(id)->mayHaveLeftovers = true;
        setState(*find(id), State::failed, error.message());
    };
    const auto saved = m_environment.recordOf(entry->record.server);
    if (!saved && entry->server.host.isEmpty()) {
        setState(*entry, State::failed, u"The server of this file is no longer in the library."_s);
        return;
    }
    entry->job = m_environment.connections.open(
        saved.value_or(entry->server), std::nullopt,
        [this, id, guard](const OpenConnection &connection) { upload(id, guard, connection.service); }, fail);
}

void EditedFiles::upload(const QUuid &id, Guard guard, std::shared_ptr<FileService> server)
{
    Entry &entry = *find(id);
    editedVersion::Sending sending;
    sending.disk = m_environment.disk;
    sending.server = std::move(server);
    sending.guard = guard;
    sending.mayHaveLeftovers = entry.mayHaveLeftovers;
    sending.reconnectDelays = m_environment.reconnectDelays;
    sending.progress = [sent = entry.sent](qint64 bytes, qint64 of) {
        sent->bytes = bytes;
        sent->of = of;
    };
    const Stamp stamp(entry.path());
    struct End
    {
        Outcome outcome;
        EditedRecord record;
    };
    // The job that brought the connection is at its end, so it may be replaced.
    entry.job = runJob(
        [sending, copy = entry.copy, record = entry.record](const std::stop_token &stop) {
            End end{Outcome::sent, record};
            end.outcome = editedVersion::send(sending, *copy, end.record, stop);
            return end;
        },
        [this, id, stamp, service = sending.server.get()](const End &end) {
            if (end.outcome == Outcome::sent) {
                find(id)->known = stamp;
                emit folderChanged(service, {Format::parent(end.record.path)});
            }
            finish(id, end.outcome, end.record);
        },
        [this, id](const Error &error) {
            find(id)->mayHaveLeftovers = true;
            setState(*find(id), State::failed, error.message());
        });
}

void EditedFiles::finish(const QUuid &id, Outcome outcome, const EditedRecord &record)
{
    Entry &entry = *find(id);
    if (outcome != Outcome::sent) {
        setState(entry, outcome == Outcome::goneThere ? State::goneThere : State::changedThere);
        return;
    }
    entry.record = record;
    entry.mayHaveLeftovers = false;
    setState(entry, State::uploaded);
    emit messageRaised(u"“%1” was uploaded to %2."_s.arg(Format::display(Format::fileName(record.path)),
                                                         Format::display(record.serverName)));
    if (entry.isWritten())
        entry.settling.start();
}

void EditedFiles::cancel(const QUuid &id)
{
    Entry *entry = find(id);
    if (!entry || entry->state != State::uploading)
        return;
    entry->job.cancel();
    entry->mayHaveLeftovers = true;
    setState(*entry, State::cancelled);
}

/// Else the next look at what was saved would connect again.
void EditedFiles::holdBack(const QUuid &server)
{
    for (const auto &entry : m_entries) {
        const bool mayBeSent = entry->state == State::uploaded || entry->state == State::uploading;
        if (entry->record.server != server || !mayBeSent || !entry->isUnsent())
            continue;
        entry->settling.stop();
        entry->job.cancel();
        // Signs of what was saved before may still be on their way.
        entry->known = Stamp(entry->path());
        entry->mayHaveLeftovers = entry->mayHaveLeftovers || entry->state == State::uploading;
        setState(*entry, State::failed, u"The server was disconnected before."_s);
    }
}

void EditedFiles::discard(const QUuid &id)
{
    Entry *entry = find(id);
    if (!entry || entry->state == State::uploading)
        return;
    entry->settling.stop();
    entry->job.cancel();
    entry->farewell = runJob(
        [copy = entry->copy, path = entry->path()](const std::stop_token &) {
            LocalFileService().moveToTrash(path);
            copy->remove();
        },
        [this, id, name = entry->record.name] {
            drop(id);
            emit messageRaised(u"Your version of “%1” lies in the bin."_s.arg(Format::display(name)));
        },
        [this](const Error &error) { emit messageRaised(error.message()); });
}

void EditedFiles::saveAs(const QUuid &id, const QString &path)
{
    Entry *entry = find(id);
    if (!entry || entry->state == State::uploading)
        return;
    entry->farewell =
        runJob([disk = m_environment.disk, copy = entry->copy, record = entry->record,
                path](const std::stop_token &stop) { editedVersion::saveAs(disk, *copy, record, path, stop); },
               [this, path] { emit messageRaised(u"Saved as “%1”."_s.arg(Format::display(path))); },
               [this](const Error &error) { emit messageRaised(error.message()); });
}

void EditedFiles::setState(Entry &entry, State state, const QString &problem)
{
    entry.state = state;
    entry.problem = problem;
    emit filesChanged();
}

} // namespace moorix
