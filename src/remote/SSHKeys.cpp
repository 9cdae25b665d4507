// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SSHKeys.h"

#include <QDir>

namespace moorix::SSHKeys {

QStringList detected(const QString &folder)
{
    static const QStringList wellKnown{QStringLiteral("id_ed25519"),    QStringLiteral("id_ecdsa"),
                                       QStringLiteral("id_rsa"),        QStringLiteral("id_dsa"),
                                       QStringLiteral("id_ed25519_sk"), QStringLiteral("id_ecdsa_sk")};
    const QDir directory(folder);
    QStringList found;
    for (const QString &name : wellKnown) {
        if (directory.exists(name))
            found << directory.filePath(name);
    }
    const QStringList entries = directory.entryList(QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString &name : entries) {
        const QString path = directory.filePath(name);
        if (!name.endsWith(QStringLiteral(".pub")) && directory.exists(name + QStringLiteral(".pub")) &&
            !found.contains(path))
            found << path;
    }
    return found;
}

} // namespace moorix::SSHKeys
