// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/FTPListParser.h"

#include "files/Format.h"
#include "files/LocalDisk.h"
#include "remote/RemoteCharset.h"
#include "remote/UnixListParser.h"

#include <QRegularExpression>

#include <algorithm>

namespace moorix::FTPListParser {

namespace {

/// A line that is an entry. The texts of lines are Latin-1, one character for each byte.
struct Row
{
    FileItem item;
    /// As the server wrote it.
    QString name;
    /// On the server's clock, and not the day alone.
    bool isToTheMinute = false;
    bool isPlainFile = false;
};

/// Anchored on the date, as the number of columns before it differs from server to server; exactly one blank stands
/// between the date and the name, which may begin with blanks of its own. Months may be of any language, in bytes.
const QRegularExpression &unixForm()
{
    static const QRegularExpression form(QStringLiteral(
        R"(^([-dlbcps])([-rwxsStTlL]{9})[+.@]?\s+(?:\d+\s+)?(\S.*?)\s+(?:\d+,\s*)?(\d+)\s+)"
        R"((?:([^\s\d]\S{1,9})\s+(\d{1,2})\s+(\d{4}|\d{1,2}:\d{2})|(\d{4}-\d{2}-\d{2})\s+(\d{2}:\d{2})) (.*)$)"));
    return form;
}

const QRegularExpression &dosForm()
{
    static const QRegularExpression form(
        QStringLiteral(R"(^(\d{2,4})[-/](\d{2})[-/](\d{2,4})\s+(\d{1,2}):(\d{2})(?::\d{2})?\s*([AaPp][Mm])?\s+)"
                       R"((?:<(DIR|JUNCTION|SYMLINKD?)>\s+|([\d,.]+) )(.*)$)"));
    return form;
}

/// Where the arrow to a link's target is; -1 without one. The size is the length of the target, which tells that arrow
/// from those in names.
qsizetype arrowIn(const QString &text, qint64 targetBytes)
{
    const QString arrow = QStringLiteral(" -> ");
    const qsizetype beforeTarget = text.size() - targetBytes - arrow.size();
    if (beforeTarget > 0 && QStringView(text).mid(beforeTarget).startsWith(arrow))
        return beforeTarget;
    return text.indexOf(arrow);
}

std::optional<Row> unixRow(const QString &line, const QDateTime &now)
{
    const QRegularExpressionMatch match = unixForm().match(line);
    if (!match.hasMatch())
        return std::nullopt;
    Row row;
    const QString kind = match.captured(1);
    row.item.isDirectory = kind == u'd';
    row.item.isSymlink = kind == u'l';
    row.item.permissions = match.captured(2);
    const QString ownerAndGroup = match.captured(3);
    row.item.ownerName = ownerAndGroup.section(u' ', 0, 0);
    row.item.size = match.captured(4).toLongLong();
    if (match.hasCaptured(5)) {
        row.item.modified = UnixListParser::parseDate(match.captured(5), match.captured(6), match.captured(7), now);
        row.isToTheMinute = match.captured(7).contains(u':');
    } else {
        const QDateTime date(QDate::fromString(match.captured(8), Qt::ISODate),
                             QTime::fromString(match.captured(9), QStringLiteral("HH:mm")), Qt::UTC);
        row.item.modified = date.isValid() ? std::optional(date) : std::nullopt;
        row.isToTheMinute = true;
    }
    row.isPlainFile = kind == u'-';
    row.name = match.captured(10);
    if (row.item.isSymlink) {
        if (const qsizetype arrow = arrowIn(row.name, row.item.size); arrow > 0)
            row.name.truncate(arrow);
    }
    return row;
}

int fullYear(const QString &digits)
{
    const int year = digits.toInt();
    if (digits.size() > 2)
        return year;
    return year < 70 ? year + 2000 : year + 1900;
}

std::optional<QDateTime> dosDate(const QRegularExpressionMatch &match)
{
    const bool isYearFirst = match.captured(1).size() == 4;
    const QDate date = isYearFirst
                           ? QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt())
                           : QDate(fullYear(match.captured(3)), match.captured(1).toInt(), match.captured(2).toInt());
    int hour = match.captured(4).toInt();
    const QString half = match.captured(6).toUpper();
    if (!half.isEmpty())
        hour = hour % 12 + (half == QStringLiteral("PM") ? 12 : 0);
    const QDateTime result(date, QTime(hour, match.captured(5).toInt()), Qt::UTC);
    return result.isValid() ? std::optional(result) : std::nullopt;
}

std::optional<Row> dosRow(const QString &line)
{
    const QRegularExpressionMatch match = dosForm().match(line);
    if (!match.hasMatch())
        return std::nullopt;
    Row row;
    const QString kind = match.captured(7);
    row.item.isDirectory = kind == QStringLiteral("DIR");
    // What it leads to is walked into by nobody who deletes a tree.
    row.item.isSymlink = !kind.isEmpty() && !row.item.isDirectory;
    QString size = match.captured(8);
    row.item.size = size.remove(u',').remove(u'.').toLongLong();
    row.item.modified = dosDate(match);
    row.isToTheMinute = true;
    row.isPlainFile = kind.isEmpty();
    row.name = match.captured(9);
    if (row.item.isSymlink) {
        if (const qsizetype target = row.name.lastIndexOf(QStringLiteral(" [")); target > 0)
            row.name.truncate(target);
    }
    return row;
}

std::optional<Row> factsRow(const QString &line)
{
    const qsizetype end = line.indexOf(QStringLiteral("; "));
    const QString head = line.left(end + 1);
    if (end < 0 || !head.contains(u'=') || head.contains(u' '))
        return std::nullopt;
    Row row;
    row.name = line.mid(end + 2);
    bool hasKind = false;
    const QStringList facts = head.split(u';', Qt::SkipEmptyParts);
    for (const QString &fact : facts) {
        const QString key = fact.section(u'=', 0, 0).toLower();
        const QString value = fact.section(u'=', 1);
        const QString kind = value.toLower();
        if (key == QStringLiteral("type")) {
            hasKind = true;
            row.item.isDirectory = kind == QStringLiteral("dir");
            row.item.isSymlink = kind.startsWith(QStringLiteral("os.unix=s"));
            // The listed folder itself and the one above it.
            if (kind == QStringLiteral("cdir") || kind == QStringLiteral("pdir"))
                row.name = QStringLiteral(".");
        } else if (key == QStringLiteral("size")) {
            row.item.size = value.toLongLong();
        } else if (key == QStringLiteral("modify")) {
            row.item.modified = parseStamp(value.toLatin1());
        } else if (key == QStringLiteral("unix.mode")) {
            bool isOctal = false;
            const unsigned mode = value.toUInt(&isOctal, 8);
            if (isOctal)
                row.item.permissions = LocalDisk::posixString(mode);
        } else if (key == QStringLiteral("unix.ownername")) {
            row.item.ownerName = value;
        }
    }
    return hasKind ? std::optional(row) : std::nullopt;
}

bool isNameOfAnEntry(const QString &name)
{
    return !name.isEmpty() && name != u'.' && name != QStringLiteral("..") && !name.contains(u'/') &&
           !name.contains(QChar::Null);
}

void addTimed(QList<FileItem> &timed, const FileItem &item)
{
    constexpr qsizetype most = 3;
    const auto place = std::find_if(timed.begin(), timed.end(),
                                    [&item](const FileItem &other) { return *other.modified < *item.modified; });
    if (place == timed.end() && timed.size() == most)
        return;
    timed.insert(place, item);
    timed.resize(std::min(timed.size(), most));
}

} // namespace

FTPListing parse(const QByteArray &text, const QString &folder, const RemoteCharset &charset, const QDateTime &now,
                 std::chrono::seconds ahead)
{
    static const QRegularExpression total(QStringLiteral("^total \\d+$"));
    FTPListing listing;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &bytes : lines) {
        QString line = QString::fromLatin1(bytes);
        if (line.endsWith(u'\r'))
            line.chop(1);
        if (line.trimmed().isEmpty() || total.match(line).hasMatch())
            continue;
        ++listing.lines;
        std::optional<Row> row = unixRow(line, now.addSecs(ahead.count()));
        if (!row)
            row = factsRow(line);
        if (!row)
            row = dosRow(line);
        if (!row)
            continue;
        ++listing.understood;
        if (!isNameOfAnEntry(row->name))
            continue;
        FileItem item = row->item;
        item.name = charset.decode(row->name.toLatin1());
        item.path = Format::join(folder, item.name);
        if (item.ownerName)
            item.ownerName = charset.decode(item.ownerName->toLatin1());
        const bool isTimed = row->isToTheMinute && item.modified;
        if (isTimed)
            item.modified = item.modified->addSecs(-ahead.count());
        if (isTimed && row->isPlainFile)
            addTimed(listing.timed, item);
        listing.items.append(std::move(item));
    }
    UnixListParser::trustLinks(listing.items);
    return listing;
}

std::optional<QDateTime> parseStamp(const QByteArray &digits)
{
    const QString text = QString::fromLatin1(digits.left(14));
    const QDate date = QDate::fromString(text.left(8), QStringLiteral("yyyyMMdd"));
    const QTime time = QTime::fromString(text.mid(8), QStringLiteral("HHmmss"));
    const QDateTime stamp(date, time, Qt::UTC);
    return stamp.isValid() && time.isValid() ? std::optional(stamp) : std::nullopt;
}

} // namespace moorix::FTPListParser
