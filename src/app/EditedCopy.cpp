// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/EditedCopy.h"

#include "base/Json.h"
#include "base/JsonFile.h"
#include "files/Format.h"
#include "files/LocalDisk.h"
#include "files/LockedFolder.h"
#include "files/NativePath.h"

#include <QDir>

#include <cerrno>

#include <sys/stat.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void makeFolder(const QString &path)
{
    if (::mkdir(QFile::encodeName(path).constData(), 0700) != 0 && errno != EEXIST)
        throw Error(u"Editing"_s, u"The folder “%1” could not be made: %2"_s.arg(path, systemErrorText(errno)));
}

QString recordPath(const QString &folder)
{
    return folder + u"/record.json"_s;
}

} // namespace

EditedCopy::EditedCopy(const QUuid &id, QString folder, FileDescriptor lock)
    : m_id(id)
    , m_folder(std::move(folder))
    , m_lock(std::move(lock))
{
}

std::shared_ptr<EditedCopy> EditedCopy::open(const QUuid &id, const QString &folder)
{
    FileDescriptor lock = lockedFolder(folder, WhenLocked::giveUp);
    if (!lock.isOpen())
        return nullptr;
    return std::shared_ptr<EditedCopy>(new EditedCopy(id, folder, std::move(lock)));
}

std::shared_ptr<EditedCopy> EditedCopy::make(const QString &root)
{
    QDir().mkpath(Format::parent(root));
    makeFolder(root);
    const QUuid id = newUuid();
    const QString folder = Format::join(root, uuidText(id));
    // Keeps a program that starts at this moment from taking the folder over before it is locked.
    const FileDescriptor all = lockedFolder(root, WhenLocked::wait);
    makeFolder(folder);
    std::shared_ptr<EditedCopy> copy = open(id, folder);
    if (!copy)
        throw Error(u"Editing"_s, u"The folder “%1” could not be locked: %2"_s.arg(folder, systemErrorText(errno)));
    makeFolder(copy->editedFolder());
    makeFolder(folder + u"/travel"_s);
    return copy;
}

std::vector<std::shared_ptr<EditedCopy>> EditedCopy::takeOver(const QString &root)
{
    std::vector<std::shared_ptr<EditedCopy>> copies;
    const FileDescriptor all = lockedFolder(root, WhenLocked::wait);
    const QStringList names = QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        const QUuid id(name);
        if (id.isNull())
            continue;
        if (auto copy = open(id, Format::join(root, name)))
            copies.push_back(std::move(copy));
    }
    return copies;
}

QString EditedCopy::editedFolder() const
{
    return m_folder + u"/edited"_s;
}

QString EditedCopy::filePath(const EditedRecord &record) const
{
    return Format::join(editedFolder(), record.name);
}

QString EditedCopy::travelPath(const EditedRecord &record) const
{
    return Format::join(m_folder + u"/travel"_s, record.name);
}

std::optional<EditedRecord> EditedCopy::load() const
{
    const auto bytes = jsonFile::read(recordPath(m_folder));
    if (!bytes)
        return std::nullopt;
    const JsonReader reader = JsonReader::parse(*bytes, u"the record of an edited file"_s);
    EditedRecord record;
    record.server = reader.requiredUuid(u"server"_s);
    record.serverName = reader.requiredString(u"serverName"_s);
    record.path = reader.requiredString(u"path"_s);
    if (const auto exactPath = reader.optionalString(u"pathBytes"_s))
        record.path = NativePath::text(QByteArray::fromHex(exactPath->toLatin1()));
    record.isLink = reader.requiredBool(u"isLink"_s);
    record.name = reader.requiredString(u"name"_s);
    record.permissions = reader.optionalString(u"permissions"_s);
    record.size = reader.requiredInteger(u"size"_s);
    record.modified = reader.optionalDate(u"modified"_s);
    record.checksum = QByteArray::fromHex(reader.requiredString(u"sha256"_s).toLatin1());
    if (record.name != Format::fileName(record.name))
        reader.fail(u"name"_s, u"is no plain name"_s);
    return record;
}

void EditedCopy::save(const EditedRecord &record) const
{
    JsonWriter writer;
    writer.beginObject();
    writer.field(u"server", QJsonValue(uuidText(record.server)));
    writer.field(u"serverName", QJsonValue(record.serverName));
    writer.field(u"path", QJsonValue(record.path));
    // JSON has no way to write a name that is no UTF-8.
    if (!NativePath::isUnicode(record.path))
        writer.field(u"pathBytes", QJsonValue(QString::fromLatin1(NativePath::bytes(record.path).toHex())));
    writer.field(u"isLink", QJsonValue(record.isLink));
    writer.field(u"name", QJsonValue(record.name));
    writer.field(u"permissions", record.permissions);
    writer.field(u"size", QJsonValue(record.size));
    writer.field(u"modified", record.modified);
    writer.field(u"sha256", QJsonValue(QString::fromLatin1(record.checksum.toHex())));
    writer.endObject();
    jsonFile::write(recordPath(m_folder), writer.bytes());
}

void EditedCopy::remove() const
{
    try {
        LocalDisk::removeTree(m_folder, std::stop_token());
    } catch (const Error &) {
        // It holds nothing that is not on the server; the next start tries again.
    }
}

} // namespace moorix
