// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/JsonFile.h"

#include "base/Error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace moorix::jsonFile {

std::optional<QByteArray> read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
            return std::nullopt;
        throw Error(QStringLiteral("Storage"),
                    QStringLiteral("“%1” could not be read: %2").arg(path, file.errorString()));
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError) {
        throw Error(QStringLiteral("Storage"),
                    QStringLiteral("“%1” could not be read: %2").arg(path, file.errorString()));
    }
    return bytes;
}

void write(const QString &path, const QByteArray &bytes)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QFileInfo::exists(folder)) {
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QSaveFile file(path);
    const bool written = file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                         file.write(bytes) == bytes.size() && file.commit();
    if (!written) {
        throw Error(QStringLiteral("Storage"),
                    QStringLiteral("“%1” could not be saved: %2").arg(path, file.errorString()));
    }
}

bool setAside(const QString &path, const QString &asidePath)
{
    return QFile::rename(path, asidePath);
}

} // namespace moorix::jsonFile
