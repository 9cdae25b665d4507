// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/UnixListParser.h"

#include "files/Format.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <array>

namespace moorix::UnixListParser {

namespace {

/// The client cuts longer rows, so the name in such a row may be incomplete.
constexpr qsizetype longestRowBytes = 1023;
constexpr qsizetype fieldsBeforeName = 8;
/// User and group names with blanks move the later fields by a few places.
constexpr qsizetype mostExtraFields = 4;

/// The parts of one row, as views into the text.
struct Row
{
    QStringView mode;
    QStringView links;
    QStringView owner;
    QStringView size;
    QStringView month;
    QStringView day;
    QStringView yearOrTime;
    /// Everything after the one space behind the date.
    QStringView name;
};

/// The places of one line's fields, as far as a row can need them.
class Fields final
{
public:
    explicit Fields(QStringView line)
        : m_line(line)
    {
        qsizetype at = 0;
        while (m_count < qsizetype(m_fields.size())) {
            while (at < line.size() && line.at(at) == u' ')
                ++at;
            if (at == line.size())
                break;
            const qsizetype start = at;
            while (at < line.size() && line.at(at) != u' ')
                ++at;
            m_fields[size_t(m_count++)] = line.mid(start, at - start);
        }
    }

    qsizetype count() const { return m_count; }
    QStringView at(qsizetype index) const { return m_fields[size_t(index)]; }
    /// The rest of the line behind field `index` and one space.
    QStringView behind(qsizetype index) const
    {
        const qsizetype end = (at(index).data() - m_line.data()) + at(index).size();
        return m_line.mid(std::min(end + 1, m_line.size()));
    }

private:
    QStringView m_line;
    std::array<QStringView, fieldsBeforeName + mostExtraFields + 1> m_fields;
    qsizetype m_count = 0;
};

int monthNumber(QStringView text)
{
    static constexpr QStringView names = u"JanFebMarAprMayJunJulAugSepOctNovDec";
    if (text.size() != 3)
        return 0;
    const qsizetype at = names.indexOf(text);
    return at >= 0 && at % 3 == 0 ? int(at / 3) + 1 : 0;
}

bool isNumber(QStringView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

/// How many fields user and group take beyond one each.
qsizetype extraFields(const Fields &fields)
{
    for (qsizetype extra = 0; extra <= mostExtraFields && extra + fieldsBeforeName < fields.count(); ++extra) {
        if (isNumber(fields.at(4 + extra)) && monthNumber(fields.at(5 + extra)) != 0)
            return extra;
    }
    return 0;
}

std::optional<Row> readRow(QStringView line)
{
    static constexpr QStringView kinds = u"dlbcps-";
    const Fields fields(line);
    if (fields.count() <= fieldsBeforeName || fields.at(0).size() < 10 || !kinds.contains(fields.at(0).front()))
        return std::nullopt;
    const qsizetype extra = extraFields(fields);
    Row row;
    row.mode = fields.at(0);
    row.links = fields.at(1);
    row.owner = fields.at(2);
    row.size = fields.at(4 + extra);
    row.month = fields.at(5 + extra);
    row.day = fields.at(6 + extra);
    row.yearOrTime = fields.at(7 + extra);
    row.name = fields.behind(7 + extra);
    return row;
}

/// The row was made by the client itself, which never adds a link's target.
bool isClientMade(const Row &row)
{
    return row.links == u"?";
}

QString withUnprintableBytes(QStringView text)
{
    QString result;
    result.reserve(text.size());
    const auto digit = [&text](qsizetype at) { return int(text.at(at).unicode()) - '0'; };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isEscape = text.at(i) == u'\\' && i + 3 < text.size() && digit(i + 1) >= 0 && digit(i + 1) <= 3 &&
                              digit(i + 2) >= 0 && digit(i + 2) <= 7 && digit(i + 3) >= 0 && digit(i + 3) <= 7;
        const int byte = isEscape ? digit(i + 1) * 64 + digit(i + 2) * 8 + digit(i + 3) : 0;
        // Printable bytes are never escaped: there the name itself holds a backslash and digits.
        if (isEscape && (byte < 0x20 || byte >= 0x7f)) {
            result += QChar(byte < 0x80 ? byte : 0xdc00 + byte);
            i += 3;
        } else {
            result += text.at(i);
        }
    }
    return result;
}

QString singleSpaced(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (const QChar c : text) {
        if (c != u' ' || (!result.isEmpty() && result.back() != u' '))
            result += c;
    }
    if (result.endsWith(u' '))
        result.chop(1);
    return result;
}

/// Makes the items of one folder. Texts and dates that repeat from row to row are shared between the items.
class ItemMaker final
{
public:
    ItemMaker(const QString &dir, const QDateTime &now)
        : m_dir(dir)
        , m_prefix(dir.endsWith(u'/') ? dir : dir + u'/')
        , m_now(now)
    {
    }

    /// The entry's name as the row has it, without the folder in front; a file that was listed itself is named in
    /// full.
    QStringView entryName(const Row &row) const
    {
        QStringView name = row.name;
        if (name == m_dir)
            return name.mid(name.lastIndexOf(u'/') + 1);
        if (name.startsWith(m_prefix))
            name = name.mid(m_prefix.size());
        // A pattern's match carries a mark for folders.
        if (name.size() > 1 && name.endsWith(u'/'))
            name.chop(1);
        return name;
    }

    std::optional<FileItem> item(const Row &row, QStringView line)
    {
        QStringView name = entryName(row);
        if (name == u"." || name == u"..")
            return std::nullopt;
        FileItem item;
        item.isDirectory = row.mode.front() == u'd';
        item.isSymlink = row.mode.front() == u'l';
        if (item.isSymlink && !isClientMade(row)) {
            if (const qsizetype arrow = name.indexOf(u" -> "); arrow >= 0)
                name.truncate(arrow);
        }
        setName(item, name, row);
        if (isClientMade(row) && line.size() >= longestRowBytes / 4 && line.toUtf8().size() >= longestRowBytes) {
            item.name += u'…';
            item.path += u'…';
        }
        item.size = row.size.toLongLong();
        item.permissions = shared(m_permissions, row.mode.mid(1, 9));
        item.ownerName = shared(m_owner, row.owner);
        item.modified = date(row);
        return item;
    }

private:
    void setName(FileItem &item, QStringView name, const Row &row) const
    {
        // One look at each character, for most names hold neither.
        bool hasBackslash = false;
        bool hasOddSpaces = false;
        QChar before = u' ';
        for (const QChar c : name) {
            hasBackslash = hasBackslash || c == u'\\';
            hasOddSpaces = hasOddSpaces || (c == u' ' && before == u' ');
            before = c;
        }
        hasOddSpaces = hasOddSpaces || before == u' ';
        item.name = hasBackslash ? withUnprintableBytes(name) : name.toString();
        item.path = row.name == m_dir ? m_dir : m_prefix + item.name;
        if (hasOddSpaces && !isClientMade(row))
            item.name = singleSpaced(item.name);
    }

    static const QString &shared(QString &last, QStringView text)
    {
        if (last != text)
            last = text.toString();
        return last;
    }

    std::optional<QDateTime> date(const Row &row)
    {
        const auto length = size_t(row.yearOrTime.data() + row.yearOrTime.size() - row.month.data());
        const QStringView text(row.month.data(), qsizetype(length));
        const auto known = m_dates.constFind(text);
        if (known != m_dates.constEnd())
            return *known;
        return *m_dates.insert(text, parseDate(row.month, row.day, row.yearOrTime, m_now));
    }

    QString m_dir;
    QString m_prefix;
    QDateTime m_now;
    QString m_permissions;
    QString m_owner;
    QHash<QStringView, std::optional<QDateTime>> m_dates;
};

template <class Use>
void forEachLine(QStringView text, Use use)
{
    for (qsizetype start = 0; start < text.size();) {
        qsizetype end = text.indexOf(u'\n', start);
        if (end < 0)
            end = text.size();
        QStringView line = text.mid(start, end - start);
        start = end + 1;
        if (line.endsWith(u'\r'))
            line.chop(1);
        use(line);
    }
}

} // namespace

QList<FileItem> parse(const QString &text, const QString &dir, const QDateTime &now)
{
    constexpr qsizetype usualRowLength = 80;
    QList<FileItem> items;
    items.reserve(text.size() / usualRowLength);
    ItemMaker maker(dir, now);
    forEachLine(text, [&](QStringView line) {
        if (const std::optional<Row> row = readRow(line)) {
            if (std::optional<FileItem> item = maker.item(*row, line))
                items.append(std::move(*item));
        }
    });
    trustLinks(items);
    return items;
}

void trustLinks(QList<FileItem> &items)
{
    QSet<QString> links;
    for (const FileItem &item : std::as_const(items)) {
        if (item.isSymlink)
            links.insert(item.path);
    }
    if (!links.isEmpty())
        items.removeIf([&links](const FileItem &item) { return !item.isSymlink && links.contains(item.path); });
}

bool listsTheFolderItself(const QString &text, const QString &dir)
{
    bool found = false;
    const ItemMaker maker(dir, QDateTime());
    forEachLine(text, [&](QStringView line) {
        const std::optional<Row> row = found ? std::nullopt : readRow(line);
        found = found || (row && maker.entryName(*row) == u".");
    });
    return found;
}

std::optional<QDateTime> parseDate(QStringView month, QStringView day, QStringView yearOrTime, const QDateTime &now)
{
    const int monthOfYear = monthNumber(month);
    const int dayOfMonth = day.toInt();
    if (monthOfYear == 0 || dayOfMonth == 0)
        return std::nullopt;
    const qsizetype colon = yearOrTime.indexOf(u':');
    if (colon < 0) {
        const QDate date(yearOrTime.toInt(), monthOfYear, dayOfMonth);
        return isNumber(yearOrTime) && date.isValid() ? std::optional(date.startOfDay(now.timeSpec())) : std::nullopt;
    }
    const QTime time(isNumber(yearOrTime.left(colon)) ? yearOrTime.left(colon).toInt() : -1,
                     isNumber(yearOrTime.mid(colon + 1)) ? yearOrTime.mid(colon + 1).toInt() : -1);
    if (!time.isValid())
        return std::nullopt;
    // The source leaves the year out for the last half year; a clock that runs ahead of ours gets a day's grace. A
    // leap day may need a look further back.
    const QDateTime latest = now.addDays(1);
    for (int year = latest.date().year(); year > latest.date().year() - 5; --year) {
        const QDateTime candidate(QDate(year, monthOfYear, dayOfMonth), time, now.timeSpec());
        if (candidate.isValid() && candidate <= latest)
            return candidate;
    }
    return std::nullopt;
}

} // namespace moorix::UnixListParser
