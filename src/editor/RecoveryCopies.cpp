// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/RecoveryCopies.h"

#include "base/Json.h"
#include "base/JsonFile.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LockedFolder.h"
#include "files/NativePath.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

QString recordPath(const QString &folder)
{
    return folder + u"/record.json"_s;
}

std::optional<RecoveryRecord> loadRecord(const QString &folder)
{
    const auto bytes = jsonFile::read(recordPath(folder));
    if (!bytes)
        return std::nullopt;
    const JsonReader reader = JsonReader::parse(*bytes, u"the record of an unsaved text"_s);
    RecoveryRecord record;
    record.path = reader.requiredString(u"path"_s);
    if (const auto exactPath = reader.optionalString(u"pathBytes"_s))
        record.path = NativePath::text(QByteArray::fromHex(exactPath->toLatin1()));
    record.place = reader.optionalString(u"place"_s).value_or(QString());
    const QString encoding = reader.requiredString(u"encoding"_s);
    const auto known = std::ranges::find_if(textEncodings, [&](TextEncoding each) { return nameOf(each) == encoding; });
    if (known == textEncodings.end())
        reader.fail(u"encoding"_s, u"is unknown"_s);
    record.encoding = *known;
    record.version.size = reader.requiredInteger(u"size"_s);
    record.version.modified = reader.optionalDate(u"modified"_s);
    record.version.checksum = QByteArray::fromHex(reader.requiredString(u"sha256"_s).toLatin1());
    return record;
}

void saveRecord(const QString &folder, const RecoveryRecord &record)
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"path", QJsonValue(record.path));
    // JSON has no way to write a name that is no UTF-8.
    if (!NativePath::isUnicode(record.path))
        writer.field(u"pathBytes", QJsonValue(QString::fromLatin1(NativePath::bytes(record.path).toHex())));
    writer.field(u"place", QJsonValue(record.place));
    writer.field(u"encoding", QJsonValue(nameOf(record.encoding)));
    writer.field(u"size", QJsonValue(record.version.size));
    writer.field(u"modified", record.version.modified);
    writer.field(u"sha256", QJsonValue(QString::fromLatin1(record.version.checksum.toHex())));
    writer.endObject();
    jsonFile::write(recordPath(folder), writer.bytes());
}

/// Makes the folder and locks it.
FileDescriptor madeFolder(const QString &root, const QString &folder)
{
    QDir().mkpath(Format::parent(root));
    ::mkdir(QFile::encodeName(root).constData(), 0700);
    // Keeps a program that starts at this moment from taking the folder over before it is locked.
    const FileDescriptor all = lockedFolder(root, WhenLocked::wait);
    ::mkdir(QFile::encodeName(folder).constData(), 0700);
    FileDescriptor lock = lockedFolder(folder, WhenLocked::giveUp);
    if (!lock.isOpen())
        throw Error(u"Editor"_s, u"The folder “%1” could not be made or locked."_s.arg(folder));
    return lock;
}

void removeFolder(const QString &folder)
{
    try {
        LocalDisk::removeTree(folder, {});
    } catch (const Error &) {
        // What is in it would be offered once more at the next start, which loses nothing.
    }
}

} // namespace

RecoveryCopies::RecoveryCopies(QString root)
    : m_root(std::move(root))
{
}

QString RecoveryCopies::folder(const QUuid &id) const
{
    return Format::join(m_root, uuidText(id));
}

QString RecoveryCopies::textPath(const QUuid &id) const
{
    return folder(id) + u"/text"_s;
}

void RecoveryCopies::takeOver()
{
    if (std::exchange(m_hasTakenOver, true))
        return;
    const FileDescriptor all = lockedFolder(m_root, WhenLocked::wait);
    for (const QString &name : QDir(m_root).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QUuid id(name);
        if (id.isNull() || m_entries.contains(id))
            continue;
        takeOver(id);
    }
    std::ranges::sort(m_leftOver, {}, [this](const QUuid &id) { return m_entries.value(id)->written; });
}

void RecoveryCopies::takeOver(const QUuid &id)
{
    auto entry = std::make_shared<Entry>();
    entry->lock = lockedFolder(folder(id), WhenLocked::giveUp);
    if (!entry->lock.isOpen())
        return;
    if (!QFileInfo::exists(textPath(id)))
        return removeFolder(folder(id));
    // A text that nothing tells of stays where it is, for who looks for it there.
    const QString problem = u"Unsaved text lies in “%1”, but nothing tells where it belongs"_s.arg(textPath(id));
    try {
        entry->record = loadRecord(folder(id));
    } catch (const Error &error) {
        m_problems += problem + u": "_s + error.message();
        return;
    }
    if (!entry->record) {
        m_problems += problem + u'.';
        return;
    }
    entry->written = QFileInfo(textPath(id)).lastModified();
    m_entries.insert(id, entry);
    m_leftOver.append(id);
}

RecoveryCopies::LeftOver RecoveryCopies::leftOver()
{
    const std::lock_guard lock(m_mutex);
    takeOver();
    LeftOver leftOver;
    for (const QUuid &id : std::as_const(m_leftOver)) {
        if (const auto entry = m_entries.value(id); entry && entry->record)
            leftOver.found.append({id, *entry->record, entry->written});
    }
    leftOver.problems = m_problems;
    return leftOver;
}

bool RecoveryCopies::covers(const QString &path)
{
    const std::lock_guard lock(m_mutex);
    takeOver();
    return std::ranges::any_of(m_entries,
                               [&path](const auto &entry) { return entry->record && entry->record->path == path; });
}

void RecoveryCopies::write(const QUuid &id, qint64 turn, const RecoveryRecord &record, const QByteArray &text)
{
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Entry> &entry = m_entries[id];
    if (!entry)
        entry = std::make_shared<Entry>();
    if (turn <= entry->turn)
        return;
    entry->turn = turn;
    if (!entry->lock.isOpen())
        entry->lock = madeFolder(m_root, folder(id));
    // First, since a text without its record would not be offered.
    if (entry->record != record)
        saveRecord(folder(id), record);
    jsonFile::write(textPath(id), text);
    entry->record = record;
}

void RecoveryCopies::remove(const QUuid &id, qint64 turn)
{
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Entry> &entry = m_entries[id];
    if (!entry)
        entry = std::make_shared<Entry>();
    if (turn <= entry->turn)
        return;
    entry->turn = turn;
    entry->record.reset();
    if (!entry->lock.isOpen())
        return;
    removeFolder(folder(id));
    entry->lock.close();
}

QByteArray RecoveryCopies::text(const QUuid &id) const
{
    const auto text = jsonFile::read(textPath(id));
    if (!text)
        throw Error(u"Editor"_s, u"The unsaved text in “%1” is gone."_s.arg(textPath(id)));
    return *text;
}

} // namespace moorix
