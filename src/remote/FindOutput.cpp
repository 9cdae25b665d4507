// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FindOutput.h"

#include "files/Format.h"
#include "files/NativePath.h"
#include "remote/SFTPQuoting.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace moorix {

namespace {

/// One row: mode, size, time and owner, then the path below `folder`, which is empty for the folder itself. Nothing for
/// another kind of row.
std::optional<FileItem> foundItem(QByteArrayView row, const QString &folder)
{
    std::array<QByteArrayView, 4> fields;
    for (QByteArrayView &field : fields) {
        const qsizetype end = row.indexOf('/');
        if (end < 0)
            return std::nullopt;
        field = row.first(end);
        row = row.sliced(end + 1);
    }
    const auto &[mode, size, time, owner] = fields;
    if (mode.size() != 10)
        return std::nullopt;
    FileItem item;
    item.path = row.isEmpty() ? folder : Format::join(folder, NativePath::text(row));
    item.name = Format::fileName(item.path);
    item.isDirectory = mode.front() == 'd';
    item.isSymlink = mode.front() == 'l';
    item.size = size.toLongLong();
    item.modified = QDateTime::fromSecsSinceEpoch(time.first(std::max<qsizetype>(0, time.indexOf('.'))).toLongLong());
    item.permissions = QString::fromLatin1(mode.sliced(1));
    item.ownerName = QString::fromUtf8(owner);
    return item;
}

/// What stands behind a backslash in the C locale's quotes, as the bytes it means.
QByteArray unescaped(const QByteArray &quoted)
{
    static const QByteArray letters("abfnrtv");
    static const QByteArray meanings("\a\b\f\n\r\t\v");
    QByteArray bytes;
    for (qsizetype i = 0; i < quoted.size(); ++i) {
        if (quoted.at(i) != '\\' || i + 1 == quoted.size()) {
            bytes += quoted.at(i);
            continue;
        }
        bool isOctal = false;
        const int byte = quoted.mid(i + 1, 3).toInt(&isOctal, 8);
        const qsizetype letter = letters.indexOf(quoted.at(i + 1));
        if (isOctal && byte < 256)
            bytes += char(byte);
        else
            bytes += letter < 0 ? quoted.at(i + 1) : meanings.at(letter);
        i += isOctal && byte < 256 ? 3 : 1;
    }
    return bytes;
}

/// The path that a line of standard error says must not be read.
std::optional<QString> deniedPath(const QString &line)
{
    static const QRegularExpression form(QStringLiteral("^find: [`'](.*)': Permission denied$"));
    const QRegularExpressionMatch match = form.match(line);
    return match.hasMatch() ? std::optional(NativePath::text(unescaped(match.captured(1).toLatin1()))) : std::nullopt;
}

} // namespace

/// A file that goes while it is looked at is no failure.
QString FindOutput::command(const QString &folder)
{
    return QStringLiteral("env LC_ALL=C find -H %1 -ignore_readdir_race -printf %2")
        .arg(SFTPQuoting::shellPath(folder), SFTPQuoting::shellPath(QStringLiteral("%M/%s/%T@/%u/%P\\0")));
}

FindOutput::FindOutput(QString folder)
    : m_folder(std::move(folder))
{
}

void FindOutput::feed(QByteArrayView bytes)
{
    while (m_isTree && !bytes.isEmpty()) {
        const qsizetype end = bytes.indexOf('\0');
        m_row.append(end < 0 ? bytes : bytes.first(end));
        if (end < 0)
            return;
        m_isTree = addRow(m_row);
        m_row.clear();
        bytes = bytes.sliced(end + 1);
    }
}

/// The folder itself comes first, so that a command that did nothing is not taken for an empty folder.
bool FindOutput::addRow(QByteArrayView row)
{
    std::optional<FileItem> item = foundItem(row, m_folder);
    const bool isFirst = m_tree.folders.isEmpty();
    if (!item || (item->path == m_folder) != isFirst || (isFirst && !item->isDirectory))
        return false;
    if (item->isDirectory)
        m_tree.folders.insert(item->path, {});
    if (isFirst)
        return true;
    ++m_entries;
    const auto parent = m_tree.folders.find(Format::parent(item->path));
    if (parent == m_tree.folders.end())
        return false;
    parent->append(*std::move(item));
    return true;
}

bool FindOutput::end(int exitCode, const QString &errorText)
{
    if (!m_isTree || !m_row.isEmpty() || m_tree.folders.isEmpty())
        return false;
    const QStringList lines = errorText.split(u'\n', Qt::SkipEmptyParts);
    const bool isAllRead = exitCode == 0;
    return isAllRead || (!lines.isEmpty() && std::all_of(lines.begin(), lines.end(), [this](const QString &line) {
               const std::optional<QString> path = deniedPath(line.trimmed());
               return path && leaveOut(*path);
           }));
}

/// Of a folder that may be read but not entered, the entries are what is denied. Nothing of such a folder has come.
bool FindOutput::leaveOut(const QString &path)
{
    const QString folder = m_tree.folders.contains(path) || m_unread.contains(path) ? path : Format::parent(path);
    if (m_unread.contains(folder))
        return true;
    const auto found = m_tree.folders.constFind(folder);
    if (folder == m_folder || found == m_tree.folders.cend() || !found->isEmpty())
        return false;
    m_tree.folders.erase(found);
    m_unread << folder;
    return true;
}

} // namespace moorix
