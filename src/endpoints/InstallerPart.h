// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QByteArrayView>
#include <QString>

namespace moorix {

/// The file that a download is written into, private to the user and locked. Gone with the object unless it has got its
/// name. Worker threads; throws Errors of the domain "Moorix.Update".
class InstallerPart final
{
public:
    /// Removes what killed downloads have left in the folder, and makes a new file.
    explicit InstallerPart(const QString &folder);
    InstallerPart(const InstallerPart &) = delete;
    InstallerPart &operator=(const InstallerPart &) = delete;
    ~InstallerPart();

    /// Throws where the disk has no room for this much.
    void reserve(qint64 bytes) const;
    void write(QByteArrayView bytes);
    qint64 size() const { return m_size; }
    /// Gives the whole file, once it is safely on the disk, the name or the next free one (uniqueDestinationURL), and
    /// returns its path.
    QString takeName(const QString &fileName);

private:
    [[noreturn]] void fail(int errorNumber) const;

    QString m_folder;
    QByteArray m_path;
    FileDescriptor m_file;
    qint64 m_size = 0;
};

} // namespace moorix
