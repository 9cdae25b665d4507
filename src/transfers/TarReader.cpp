// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TarReader.h"

#include "base/Error.h"

#include <algorithm>
#include <cmath>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

/// Longer than any path; a larger record is no name.
constexpr qint64 largestExtensionBytes = 256 * 1024;

[[noreturn]] void fail()
{
    throw Error(u"Transfer"_s, u"What the server sends is no archive."_s);
}

QByteArray text(const QByteArray &block, qsizetype offset, qsizetype length)
{
    const QByteArray field = block.mid(offset, length);
    const qsizetype end = field.indexOf('\0');
    return end < 0 ? field : field.left(end);
}

/// Octal digits, or for large values the bytes of the number behind a set highest bit.
qint64 number(const QByteArray &block, qsizetype offset, qsizetype length)
{
    const QByteArray field = block.mid(offset, length);
    if (static_cast<unsigned char>(field.at(0)) & 0x80u) {
        qint64 value = 0;
        for (const char c : field.last(8))
            value = qint64((quint64(value) << 8) | static_cast<unsigned char>(c));
        return value;
    }
    bool isNumber = false;
    const QByteArray digits = text(block, offset, length).trimmed();
    const qint64 value = digits.isEmpty() ? 0 : digits.toLongLong(&isNumber, 8);
    if (!digits.isEmpty() && !isNumber)
        fail();
    return value;
}

/// Of "-12.5", which is in the second before -12; nothing of what is no time.
std::optional<qint64> seconds(const QByteArray &text)
{
    constexpr double furthest = 1e12;
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    return isNumber && std::abs(value) < furthest ? std::optional(qint64(std::floor(value))) : std::nullopt;
}

bool hasRightSum(const QByteArray &block)
{
    constexpr qsizetype sumOffset = 148;
    constexpr qsizetype sumLength = 8;
    qint64 sum = sumLength * ' ';
    for (qsizetype i = 0; i < block.size(); ++i) {
        if (i < sumOffset || i >= sumOffset + sumLength)
            sum += static_cast<unsigned char>(block.at(i));
    }
    return sum == number(block, sumOffset, sumLength);
}

TarEntry::Kind kindOf(char type)
{
    switch (type) {
    case '0':
    case '\0':
    case '7':
        return TarEntry::Kind::file;
    case '2':
        return TarEntry::Kind::symbolicLink;
    case '5':
        return TarEntry::Kind::folder;
    default:
        return TarEntry::Kind::other;
    }
}

QByteArray pathIn(const QByteArray &block)
{
    const bool isPosix = block.mid(257, 6) == QByteArray("ustar\0", 6);
    const QByteArray name = text(block, 0, 100);
    const QByteArray prefix = isPosix ? text(block, 345, 155) : QByteArray();
    return prefix.isEmpty() ? name : prefix + '/' + name;
}

} // namespace

TarReader::TarReader(Events events)
    : m_events(std::move(events))
{
}

void TarReader::feed(QByteArrayView bytes)
{
    while (!bytes.isEmpty() && m_state != State::complete)
        bytes = bytes.sliced(take(bytes));
}

/// Takes what belongs to the present state; returns how much that was.
qsizetype TarReader::take(QByteArrayView bytes)
{
    const bool isCollecting = m_state == State::header || m_state == State::extension;
    const qint64 wanted = m_state == State::header ? tarFormat::blockBytes - m_collected.size() : m_left;
    const qsizetype count = qsizetype(std::min<qint64>(wanted, bytes.size()));
    if (isCollecting)
        m_collected.append(bytes.first(count));
    else if (m_state == State::content && m_isEntry && count > 0)
        m_events.content(bytes.first(count));
    if (m_state != State::header)
        m_left -= count;
    if (count < wanted)
        return count;
    if (m_state == State::header)
        readHeader();
    else if (m_state == State::extension)
        readExtension();
    else if (m_state == State::content)
        endEntry();
    else
        m_state = State::header;
    return count;
}

void TarReader::readHeader()
{
    const QByteArray block = std::exchange(m_collected, {});
    if (block.count('\0') == block.size()) {
        m_state = State::complete;
        return;
    }
    if (!hasRightSum(block))
        fail();
    const char type = block.at(156);
    const qint64 size = m_longSize >= 0 ? m_longSize : number(block, 124, 12);
    if (size < 0)
        fail();
    m_paddingBytes = tarFormat::padding(size).size();
    m_left = size;
    m_isEntry = type != 'x' && type != 'g' && type != 'L' && type != 'K';
    if (!m_isEntry) {
        if (size == 0 || size > largestExtensionBytes)
            fail();
        m_extensionType = type;
        m_state = State::extension;
        return;
    }
    TarEntry entry;
    entry.kind = kindOf(type);
    entry.path = m_longPath.isEmpty() ? pathIn(block) : m_longPath;
    entry.linkTarget = m_longLink.isEmpty() ? text(block, 157, 100) : m_longLink;
    entry.mode = unsigned(number(block, 100, 8)) & 0777u;
    entry.modified = m_statedTime ? *m_statedTime : number(block, 136, 12);
    // Links and folders have no content, whatever their size says.
    if (entry.kind == TarEntry::Kind::symbolicLink || entry.kind == TarEntry::Kind::folder || type == '1')
        m_left = m_paddingBytes = 0;
    entry.size = m_left;
    m_longPath.clear();
    m_longLink.clear();
    m_longSize = -1;
    m_statedTime.reset();
    m_events.began(entry);
    m_state = State::content;
    if (m_left == 0)
        endEntry();
}

void TarReader::readExtension()
{
    QByteArray record = std::exchange(m_collected, {});
    if (m_extensionType == 'x') {
        readRecords(record);
    } else if (m_extensionType != 'g') {
        while (record.endsWith('\0'))
            record.chop(1);
        (m_extensionType == 'L' ? m_longPath : m_longLink) = record;
    }
    m_left = m_paddingBytes;
    m_state = m_left > 0 ? State::padding : State::header;
}

void TarReader::readRecords(const QByteArray &records)
{
    for (qsizetype start = 0; start < records.size();) {
        const qsizetype space = records.indexOf(' ', start);
        bool isNumber = false;
        const qsizetype length = space < 0 ? 0 : records.mid(start, space - start).toLongLong(&isNumber);
        if (!isNumber || length <= space - start + 1 || start + length > records.size())
            fail();
        const QByteArray record = records.mid(space + 1, start + length - space - 2);
        const qsizetype equals = record.indexOf('=');
        const QByteArray key = record.left(equals);
        const QByteArray value = record.mid(equals + 1);
        if (key == "path")
            m_longPath = value;
        else if (key == "linkpath")
            m_longLink = value;
        else if (key == "size")
            m_longSize = value.toLongLong();
        else if (key == "mtime")
            m_statedTime = seconds(value);
        start += length;
    }
}

void TarReader::endEntry()
{
    m_events.ended();
    m_left = m_paddingBytes;
    m_state = m_left > 0 ? State::padding : State::header;
}

} // namespace moorix
