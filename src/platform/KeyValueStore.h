// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QTimer>

#include <optional>

namespace moorix {

/// The cloud key-value store: a folder that the user's cloud client mirrors, one file per key. Changes that arrive
/// from elsewhere are announced; this program's own writes are not. Main thread.
class KeyValueStore final : public QObject
{
    Q_OBJECT

public:
    /// An empty `folder` means that the user has chosen none: everything is absent and nothing is written.
    explicit KeyValueStore(QString folder, QObject *parent = nullptr);

    bool isAvailable() const { return !m_folder.isEmpty(); }
    const QString &folder() const { return m_folder; }
    /// Switches to another folder and announces every key found there, then the switch itself.
    void setFolder(const QString &folder);

    /// The last value seen under `key`.
    std::optional<QByteArray> value(const QString &key) const;
    /// Writes the value's file whole. Returns false, and emits `writeFailed`, when that is not possible.
    bool setValue(const QString &key, const QByteArray &value);
    /// Reads the folder now and announces what has changed since the last look.
    void synchronize();

signals:
    /// Values of these keys arrived or were removed from outside.
    void changedExternally(const QStringList &keys);
    void writeFailed(const QString &message);
    /// The values of another folder are in force; what it lacks may be written to it.
    void folderChanged();

private:
    QString filePath(const QString &key) const;
    QHash<QString, QByteArray> readFolder() const;
    void watch();

    QString m_folder;
    QHash<QString, QByteArray> m_values;
    QFileSystemWatcher m_watcher;
    QTimer m_settle;
};

} // namespace moorix
