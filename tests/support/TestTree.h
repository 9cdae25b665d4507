// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QMap>
#include <QString>
#include <QTemporaryDir>
#include <QTest>

#include <initializer_list>

namespace moorix::test {

/// A path inside a tree, from a literal or a text.
struct RelPath
{
    RelPath(const char *utf8)
        : text(QString::fromUtf8(utf8))
    {
    }
    RelPath(QString path)
        : text(std::move(path))
    {
    }
    QString text;
};

/// Empty when the file cannot be read.
QByteArray contentOf(const QString &path);
/// Creates or replaces a file.
void putFile(const QString &path, const QByteArray &content);
/// Of a file: when it was last changed, and who may do what with it.
void setTimeAndMode(const QString &path, const QDateTime &modified, QFile::Permissions mode);

/// What a tree holds: path → content. Folders end in "/", a symbolic link's content is "-> target".
using TreeSnapshot = QMap<QString, QByteArray>;

/// All that lies below a folder, by relative paths.
TreeSnapshot snapshotOf(const QString &folder);

/// A temporary folder built from a literal and gone with the object:
/// `TestTree tree{{"a.txt", "text"}, {"folder/", ""}, {"folder/deeper/b", "more"}};`
class TestTree final
{
public:
    struct Entry
    {
        RelPath path;
        QByteArray content;
    };

    TestTree() = default;
    TestTree(std::initializer_list<Entry> entries);
    /// An empty one inside this folder.
    explicit TestTree(const QString &parent)
        : m_folder(parent + QStringLiteral("/tree-XXXXXX"))
    {
    }

    /// The absolute path of an entry, existing or not; without an argument that of the tree itself.
    QString path() const { return m_folder.path(); }
    QString path(const RelPath &relative) const { return m_folder.filePath(relative.text); }
    /// Creates or replaces a file and the folders above it; a path that ends in "/" is a folder.
    void write(const RelPath &relative, const QByteArray &content) const;
    void link(const RelPath &relative, const RelPath &target) const;
    /// The content of a file; empty when it cannot be read.
    QByteArray read(const RelPath &relative) const { return contentOf(path(relative)); }
    /// Whether anything is there, a dangling link included.
    bool exists(const RelPath &relative) const;
    TreeSnapshot snapshot() const { return snapshotOf(path()); }

private:
    QTemporaryDir m_folder;
};

} // namespace moorix::test

namespace QTest {
/// Makes a failed comparison of trees print both.
template <>
char *toString(const moorix::test::TreeSnapshot &tree);
} // namespace QTest
