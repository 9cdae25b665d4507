// SPDX-License-Identifier: GPL-3.0-or-later
#include "transfers/TarFormat.h"

#include <algorithm>
#include <cstring>

namespace moorix {

namespace {

constexpr qsizetype nameLength = 100;

struct Field
{
    qsizetype offset;
    qsizetype length;
};
constexpr Field nameField{0, 100};
constexpr Field modeField{100, 8};
constexpr Field userField{108, 8};
constexpr Field groupField{116, 8};
constexpr Field sizeField{124, 12};
constexpr Field timeField{136, 12};
constexpr Field sumField{148, 8};
constexpr qsizetype typeOffset = 156;
constexpr Field linkField{157, 100};
constexpr Field magicField{257, 8};

void put(QByteArray &block, const Field &field, const QByteArray &text)
{
    const qsizetype length = std::min(text.size(), field.length);
    std::memcpy(block.data() + field.offset, text.constData(), size_t(length));
}

/// Octal digits that leave room for the zero behind them.
void putNumber(QByteArray &block, const Field &field, qint64 number)
{
    put(block, field, QByteArray::number(number, 8).rightJustified(field.length - 1, '0'));
}

QByteArray block(const TarEntry &entry, char type)
{
    QByteArray block(tarFormat::blockBytes, '\0');
    put(block, nameField, entry.path);
    putNumber(block, modeField, entry.mode & 0777);
    putNumber(block, userField, 0);
    putNumber(block, groupField, 0);
    putNumber(block, sizeField, entry.size);
    putNumber(block, timeField, std::max<qint64>(0, entry.modified));
    block[typeOffset] = type;
    put(block, linkField, entry.linkTarget);
    put(block, magicField, QByteArray("ustar\00000", magicField.length));
    put(block, sumField, QByteArray(sumField.length, ' '));
    qint64 sum = 0;
    for (const char c : std::as_const(block))
        sum += static_cast<unsigned char>(c);
    put(block, sumField, QByteArray::number(sum, 8).rightJustified(6, '0') + '\0' + ' ');
    return block;
}

/// "LENGTH KEY=VALUE\n", where the length counts its own digits.
QByteArray record(const QByteArray &key, const QByteArray &value)
{
    const QByteArray rest = ' ' + key + '=' + value + '\n';
    qsizetype length = rest.size() + 1;
    while (QByteArray::number(length).size() + rest.size() != length)
        length = QByteArray::number(length).size() + rest.size();
    return QByteArray::number(length) + rest;
}

char typeOf(TarEntry::Kind kind)
{
    switch (kind) {
    case TarEntry::Kind::folder:
        return '5';
    case TarEntry::Kind::symbolicLink:
        return '2';
    case TarEntry::Kind::file:
    case TarEntry::Kind::other:
        break;
    }
    return '0';
}

} // namespace

QByteArray tarFormat::header(const TarEntry &entry)
{
    constexpr qint64 largestSize = 077777777777;
    QByteArray records;
    if (entry.path.size() > nameLength)
        records += record("path", entry.path);
    if (entry.linkTarget.size() > nameLength)
        records += record("linkpath", entry.linkTarget);
    if (entry.size > largestSize)
        records += record("size", QByteArray::number(entry.size));
    if (entry.modified < 0)
        records += record("mtime", QByteArray::number(entry.modified));
    TarEntry stated = entry;
    stated.size = entry.size > largestSize ? 0 : entry.size;
    QByteArray result;
    if (!records.isEmpty()) {
        TarEntry extension;
        extension.path = "moorix-long-name";
        extension.size = records.size();
        result = block(extension, 'x') + records + padding(records.size());
    }
    return result + block(stated, typeOf(entry.kind));
}

QByteArray tarFormat::padding(qint64 size)
{
    return QByteArray(qsizetype((blockBytes - size % blockBytes) % blockBytes), '\0');
}

QByteArray tarFormat::end()
{
    return QByteArray(2 * blockBytes, '\0');
}

} // namespace moorix
