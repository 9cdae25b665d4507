// SPDX-License-Identifier: GPL-3.0-or-later
#include "sync/SyncStateStore.h"

#include "base/Clock.h"
#include "base/Json.h"
#include "base/JsonFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

const QString manifestKind;
const QString journalKind = u".journal"_s;
const QString stateKind = u".state"_s;
constexpr qsizetype mostLogEntries = 50;
constexpr qsizetype mostLogLines = 1000;

SyncLogEntry readLogEntry(const JsonReader &reader)
{
    SyncLogEntry entry;
    const auto started = reader.optionalDate(u"started"_s);
    if (!started)
        reader.fail(u"started"_s, u"is missing"_s);
    entry.started = *started;
    entry.milliseconds = reader.requiredInteger(u"milliseconds"_s);
    entry.done = reader.requiredInteger(u"done"_s);
    entry.skipped = reader.requiredInteger(u"skipped"_s);
    entry.failed = reader.requiredInteger(u"failed"_s);
    entry.conflicts = reader.requiredInteger(u"conflicts"_s);
    entry.bytesCopied = reader.requiredInteger(u"bytesCopied"_s);
    entry.result = reader.requiredString(u"result"_s);
    const QJsonArray lines = reader.requiredArray(u"lines"_s);
    for (const QJsonValue &line : lines)
        entry.lines.append(line.toString());
    return entry;
}

void writeLogEntry(JsonWriter &writer, const SyncLogEntry &entry)
{
    writer.beginObject();
    writer.field(u"started", dateText(entry.started));
    writer.field(u"milliseconds", entry.milliseconds);
    writer.field(u"done", entry.done);
    writer.field(u"skipped", entry.skipped);
    writer.field(u"failed", entry.failed);
    writer.field(u"conflicts", entry.conflicts);
    writer.field(u"bytesCopied", entry.bytesCopied);
    writer.field(u"result", entry.result);
    writer.key(u"lines");
    writer.beginArray();
    for (const QString &line : entry.lines.mid(0, mostLogLines))
        writer.value(line);
    writer.endArray();
    writer.endObject();
}

SyncPairState decodeState(const QByteArray &bytes)
{
    const JsonReader reader = JsonReader::parse(bytes, u"the state of a folder pair"_s);
    SyncPairState state;
    state.hasLocalMarker = reader.requiredBool(u"localMarker"_s);
    state.hasRemoteMarker = reader.requiredBool(u"remoteMarker"_s);
    const QJsonArray log = reader.requiredArray(u"log"_s);
    for (qsizetype i = 0; i < log.size(); ++i)
        state.log.append(readLogEntry(reader.element(log, i, u"a run of a folder pair"_s)));
    return state;
}

QByteArray encodeState(const SyncPairState &state)
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"localMarker", state.hasLocalMarker);
    writer.field(u"remoteMarker", state.hasRemoteMarker);
    writer.key(u"log");
    writer.beginArray();
    for (qsizetype i = std::max<qsizetype>(0, state.log.size() - mostLogEntries); i < state.log.size(); ++i)
        writeLogEntry(writer, state.log.at(i));
    writer.endArray();
    writer.endObject();
    return writer.bytes();
}

} // namespace

SyncStateStore::SyncStateStore(QString folder)
    : m_folder(std::move(folder))
{
}

QString SyncStateStore::path(const QString &key, const QString &kind) const
{
    return u"%1/%2%3.json"_s.arg(m_folder, key, kind);
}

std::unique_ptr<QLockFile> SyncStateStore::lock(const QString &key) const
{
    QDir().mkpath(m_folder);
    auto lock = std::make_unique<QLockFile>(u"%1/%2.lock"_s.arg(m_folder, key));
    // A program that died does not hold it, however long ago it began.
    lock->setStaleLockTime(0);
    if (lock->tryLock(0))
        return lock;
    if (lock->error() == QLockFile::LockFailedError)
        throw Error(u"Sync"_s, u"This folder pair is being synced already."_s);
    throw Error(u"Sync"_s, u"“%1” could not be written, so nothing was synced."_s.arg(m_folder));
}

template <class Decode, class Target>
void SyncStateStore::read(const QString &key, const QString &kind, Decode decode, Target &target,
                          QString &problem) const
{
    const QString document = path(key, kind);
    const auto bytes = jsonFile::read(document);
    if (!bytes)
        return;
    try {
        target = decode(*bytes);
    } catch (const Error &error) {
        const QString stamp = systemNow().toString(u"yyyyMMdd'T'HHmmsszzz'Z'"_s);
        const QString aside = u"%1/%2%3.corrupt-%4.json"_s.arg(m_folder, key, kind, stamp);
        if (!jsonFile::setAside(document, aside))
            throw;
        problem += u"%1“%2” could not be read and was set aside as “%3”: %4"_s.arg(problem.isEmpty() ? u""_s : u"\n"_s,
                                                                                   document, aside, error.message());
    }
}

SyncStateStore::Loaded SyncStateStore::load(const QString &key) const
{
    Loaded loaded = loadState(key);
    read(key, manifestKind, SyncManifest::decode, loaded.manifest, loaded.problem);
    return loaded;
}

SyncStateStore::Loaded SyncStateStore::loadState(const QString &key) const
{
    Loaded loaded;
    read(key, journalKind, SyncJournal::decode, loaded.journal, loaded.problem);
    read(key, stateKind, decodeState, loaded.state, loaded.problem);
    return loaded;
}

QString SyncStateStore::stamp(const QString &key) const
{
    const QFileInfo document(path(key, manifestKind));
    return u"%1 %2"_s.arg(document.lastModified().toMSecsSinceEpoch()).arg(document.size());
}

QList<SyncLogEntry> SyncStateStore::log(const QString &key) const
{
    try {
        const auto bytes = jsonFile::read(path(key, stateKind));
        return bytes ? decodeState(*bytes).log : QList<SyncLogEntry>();
    } catch (const Error &) {
        return {};
    }
}

void SyncStateStore::saveJournal(const QString &key, const SyncJournal &journal) const
{
    if (!journal.isEmpty())
        jsonFile::write(path(key, journalKind), journal.encode());
}

void SyncStateStore::saveManifest(const SyncManifest &manifest) const
{
    jsonFile::write(path(manifest.id, manifestKind), manifest.encode());
    QFile::remove(path(manifest.id, journalKind));
}

void SyncStateStore::saveState(const QString &key, const SyncPairState &state) const
{
    jsonFile::write(path(key, stateKind), encodeState(state));
}

void SyncStateStore::forget(const QString &key) const
{
    for (const QString &kind : {manifestKind, journalKind, stateKind})
        QFile::remove(path(key, kind));
}

} // namespace moorix
