// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestTree.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

namespace moorix::test {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void putFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s could not be written.", qUtf8Printable(path));
}

void setTimeAndMode(const QString &path, const QDateTime &modified, QFile::Permissions mode)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.setFileTime(modified, QFile::FileModificationTime) ||
        !file.setPermissions(mode))
        qFatal("%s could not be given its time and mode.", qPrintable(path));
}

TreeSnapshot snapshotOf(const QString &folder)
{
    TreeSnapshot tree;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        const QString relative = entry.filePath().mid(folder.size() + 1);
        if (entry.isSymLink())
            tree.insert(relative, "-> " + QFile::encodeName(entry.symLinkTarget()));
        else if (entry.isDir())
            tree.insert(relative + u'/', {});
        else
            tree.insert(relative, contentOf(entry.filePath()));
    }
    return tree;
}

TestTree::TestTree(std::initializer_list<Entry> entries)
{
    for (const Entry &entry : entries)
        write(entry.path, entry.content);
}

void TestTree::write(const RelPath &relative, const QByteArray &content) const
{
    const QString absolute = path(relative);
    const bool isFolder = relative.text.endsWith(u'/');
    if (!QDir().mkpath(isFolder ? absolute : QFileInfo(absolute).path()))
        qFatal("The test folder for %s could not be made.", qPrintable(absolute));
    if (!isFolder)
        putFile(absolute, content);
}

void TestTree::link(const RelPath &relative, const RelPath &target) const
{
    if (!QFile::link(target.text, path(relative)))
        qFatal("The test link %s could not be made.", qPrintable(path(relative)));
}

bool TestTree::exists(const RelPath &relative) const
{
    const QFileInfo entry(path(relative));
    return entry.exists() || entry.isSymLink();
}

} // namespace moorix::test

template <>
char *QTest::toString(const moorix::test::TreeSnapshot &tree)
{
    QByteArray text;
    for (auto entry = tree.cbegin(); entry != tree.cend(); ++entry)
        text += "\n      " + entry.key().toUtf8() + " = \"" + entry.value().left(200) + '"';
    return qstrdup(text.isEmpty() ? "(nothing)" : text.constData());
}
