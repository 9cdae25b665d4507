// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/KeyValueStore.h"

#include "base/Error.h"
#include "base/JsonFile.h"

#include <QDir>
#include <QFile>
#include <QUrl>

#include <chrono>

namespace moorix {

namespace {

const QString fileSuffix = QStringLiteral(".json");
/// The user's folder may hold anything; what is larger is none of our values.
constexpr qint64 largestValueBytes = qint64(16) * 1024 * 1024;

/// Keys become file names; what a file name cannot hold is percent-encoded.
QString fileNameOf(const QString &key)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(key)) + fileSuffix;
}

QString keyOf(const QString &fileName)
{
    return QUrl::fromPercentEncoding(fileName.chopped(fileSuffix.size()).toLatin1());
}

} // namespace

KeyValueStore::KeyValueStore(QString folder, QObject *parent)
    : QObject(parent)
    , m_folder(std::move(folder))
{
    // A cloud client writes in several steps; one look after they have settled is enough.
    m_settle.setSingleShot(true);
    m_settle.setInterval(std::chrono::milliseconds(200));
    connect(&m_settle, &QTimer::timeout, this, &KeyValueStore::synchronize);
    const auto settleSoon = [this] { m_settle.start(); };
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, settleSoon);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, settleSoon);
    m_values = readFolder();
    watch();
}

void KeyValueStore::setFolder(const QString &folder)
{
    if (folder == m_folder)
        return;
    m_folder = folder;
    m_values.clear();
    synchronize();
    emit folderChanged();
}

QString KeyValueStore::filePath(const QString &key) const
{
    return m_folder + u'/' + fileNameOf(key);
}

QHash<QString, QByteArray> KeyValueStore::readFolder() const
{
    QHash<QString, QByteArray> values;
    if (!isAvailable())
        return values;
    const QStringList names = QDir(m_folder).entryList({u'*' + fileSuffix}, QDir::Files);
    for (const QString &name : names) {
        QFile file(m_folder + u'/' + name);
        if (file.size() <= largestValueBytes && file.open(QIODevice::ReadOnly))
            values.insert(keyOf(name), file.readAll());
    }
    return values;
}

void KeyValueStore::watch()
{
    const QStringList watched = m_watcher.files() + m_watcher.directories();
    if (!watched.isEmpty())
        m_watcher.removePaths(watched);
    if (!isAvailable() || !QDir(m_folder).exists())
        return;
    QStringList paths{m_folder};
    for (auto entry = m_values.keyBegin(); entry != m_values.keyEnd(); ++entry)
        paths.append(filePath(*entry));
    m_watcher.addPaths(paths);
}

std::optional<QByteArray> KeyValueStore::value(const QString &key) const
{
    const auto found = m_values.constFind(key);
    return found == m_values.cend() ? std::nullopt : std::optional(*found);
}

bool KeyValueStore::setValue(const QString &key, const QByteArray &value)
{
    if (!isAvailable())
        return false;
    try {
        jsonFile::write(filePath(key), value);
    } catch (const Error &error) {
        emit writeFailed(error.message());
        return false;
    }
    m_values.insert(key, value);
    watch();
    return true;
}

void KeyValueStore::synchronize()
{
    QHash<QString, QByteArray> seen = readFolder();
    QStringList changed;
    for (auto entry = seen.cbegin(); entry != seen.cend(); ++entry) {
        const auto known = m_values.constFind(entry.key());
        if (known == m_values.cend() || *known != entry.value())
            changed.append(entry.key());
    }
    for (auto entry = m_values.keyBegin(); entry != m_values.keyEnd(); ++entry) {
        if (!seen.contains(*entry))
            changed.append(*entry);
    }
    m_values = std::move(seen);
    watch();
    changed.sort();
    if (!changed.isEmpty())
        emit changedExternally(changed);
}

} // namespace moorix

#include "moc_KeyValueStore.cpp"
