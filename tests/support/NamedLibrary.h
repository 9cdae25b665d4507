// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerLibrary.h"
#include "servers/ServerTree.h"

#include <QHash>
#include <QStringList>

namespace moorix::test {

/// A library written as a tree: a line for each record, children indented by two blanks, "folder/" or "server", each
/// with its sortIndex where that matters ("work/ 3"). Records are found by their names, which are hosts too.
class NamedLibrary final
{
public:
    explicit NamedLibrary(const QString &tree)
    {
        QList<std::optional<QUuid>> parents{std::nullopt};
        for (const QString &line : tree.split(u'\n', Qt::SkipEmptyParts)) {
            const QStringList words = line.trimmed().split(u' ');
            parents.resize((line.size() - line.trimmed().size()) / 2 + 1);
            const qint64 sortIndex = words.value(1).toLongLong();
            if (words.at(0).endsWith(u'/'))
                parents.append(add(library.folders, words.at(0).chopped(1), parents.last(), sortIndex));
            else
                add(library.servers, words.at(0), parents.last(), sortIndex);
        }
    }

    QUuid operator[](const QString &name) const { return m_ids.value(name); }
    /// Absent for the top level, which has no name.
    std::optional<QUuid> parent(const QString &name) const
    {
        return name.isEmpty() ? std::nullopt : std::optional(m_ids.value(name));
    }

    ServerLibrary library;

private:
    static void place(ServerFolder &folder, const std::optional<QUuid> &parent) { folder.parentID = parent; }
    static void place(ServerConnection &server, const std::optional<QUuid> &parent)
    {
        server.folderID = parent;
        server.host = server.name;
    }
    template <class Record>
    QUuid add(QList<Record> &records, const QString &name, const std::optional<QUuid> &parent, qint64 sortIndex)
    {
        Record &record = records.emplaceBack();
        record.name = name;
        record.sortIndex = sortIndex;
        place(record, parent);
        m_ids.insert(name, record.id);
        return record.id;
    }

    QHash<QString, QUuid> m_ids;
};

/// The tree as it is shown, in the form that NamedLibrary reads, with the sortIndex of each where asked.
inline QString shown(const ServerLibrary &library, bool isNumbered = false, const std::optional<QUuid> &parent = {},
                     const QString &indent = {})
{
    QString tree;
    const auto row = [&](const QString &name, qint64 sortIndex) {
        return indent + name + (isNumbered ? QStringLiteral(" %1\n").arg(sortIndex) : QStringLiteral("\n"));
    };
    for (const ServerFolder &folder : serverTree::folders(library, parent)) {
        tree += row(folder.name + u'/', folder.sortIndex);
        tree += shown(library, isNumbered, folder.id, indent + QStringLiteral("  "));
    }
    for (const ServerConnection &server : serverTree::servers(library, parent))
        tree += row(server.name, server.sortIndex);
    return tree;
}

} // namespace moorix::test
