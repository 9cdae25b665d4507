// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestTree.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace moorix::test {

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
    if (isFolder)
        return;
    QFile file(absolute);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("The test file %s could not be written.", qPrintable(absolute));
}

void TestTree::link(const RelPath &relative, const RelPath &target) const
{
    if (!QFile::link(target.text, path(relative)))
        qFatal("The test link %s could not be made.", qPrintable(path(relative)));
}

QByteArray TestTree::read(const RelPath &relative) const
{
    QFile file(path(relative));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool TestTree::exists(const RelPath &relative) const
{
    const QFileInfo entry(path(relative));
    return entry.exists() || entry.isSymLink();
}

TreeSnapshot TestTree::snapshot() const
{
    TreeSnapshot tree;
    QDirIterator entries(path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        const QString relative = QDir(path()).relativeFilePath(entry.filePath());
        if (entry.isSymLink())
            tree.insert(relative, "-> " + QFile::encodeName(entry.symLinkTarget()));
        else if (entry.isDir())
            tree.insert(relative + u'/', {});
        else
            tree.insert(relative, read(relative));
    }
    return tree;
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
