// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/ListedTree.h"

#include <optional>

namespace moorix {

/// A tree as GNU find tells it, names and seconds exactly. Other finds do not know the command.
class FindOutput final
{
public:
    /// For the account's shell. Throws operationFailed for a folder that no command can carry.
    static QString command(const QString &folder);

    explicit FindOutput(QString folder);

    /// Takes standard output in pieces of any size.
    void feed(QByteArrayView bytes);
    /// How many entries have come.
    qint64 entries() const { return m_entries; }
    /// Judges it at the end. False where this is no tree, is not all of it, or where find says anything that is not
    /// about a folder in the tree that it may not read.
    bool end(int exitCode, const QString &errorText);

    /// What was read, without the folders that could not be.
    const ListedTree &tree() const { return m_tree; }
    const QStringList &unread() const { return m_unread; }

private:
    bool addRow(QByteArrayView row);
    bool leaveOut(const QString &path);

    QString m_folder;
    QByteArray m_row;
    ListedTree m_tree;
    QStringList m_unread;
    qint64 m_entries = 0;
    bool m_isTree = true;
};

} // namespace moorix
