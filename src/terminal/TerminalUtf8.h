// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtEndian>
#include <QtGlobal>

#include <string>

namespace moorix::TerminalUtf8 {

/// UTF-8 that goes on beyond Unicode's end, up to 0x1FFFFF, for clusters.
/// Tells how many bytes it has written, 4 at most.
inline std::size_t encode(char *to, char32_t character)
{
    if (character < 0x80) {
        *to = char(character);
        return 1;
    }
    std::size_t size = 0;
    if (character < 0x800) {
        to[size++] = char(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            to[size++] = char(0xE0 | character >> 12);
        } else {
            to[size++] = char(0xF0 | character >> 18);
            to[size++] = char(0x80 | (character >> 12 & 0x3F));
        }
        to[size++] = char(0x80 | (character >> 6 & 0x3F));
    }
    to[size++] = char(0x80 | (character & 0x3F));
    return size;
}

inline void append(std::string &bytes, char32_t character)
{
    char encoded[4];
    bytes.append(encoded, encode(encoded, character));
}

/// What `encode` does, without branches: how long the next character is cannot be foretold. Always writes 4 bytes.
inline std::size_t encodeInFour(char *to, char32_t character)
{
    constexpr quint32 marks[] = {0, 0, 0x80C0, 0x8080E0, 0x808080F0};
    const unsigned size = 1U + (character >= 0x80) + (character >= 0x800) + (character >= 0x10000);
    const quint32 parts = (character >> 18 & 0x07) | (character >> 12 & 0x3F) << 8 | (character >> 6 & 0x3F) << 16 |
                          (character & 0x3F) << 24;
    const quint32 bytes = size == 1 ? quint32(character) : parts >> 8 * (4 - size) | marks[size];
    qToLittleEndian(bytes, to);
    return size;
}

/// How many bytes a character has that begins with this one, without branches; 1 where none does.
inline int length(char first)
{
    const auto byte = uchar(first);
    return 1 + (byte >= 0xC0) + (byte >= 0xE0) + (byte >= 0xF0);
}

/// What the bytes from `at` on mean if they are a character of `size` bytes; 4 must be there.
inline char32_t fromFour(const char *at, int size)
{
    constexpr char32_t masks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    const auto byte = [at](int index) { return char32_t(uchar(at[index])); };
    const char32_t parts =
        (byte(0) & masks[size]) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    return parts >> 6 * (4 - size);
}

/// The character that begins at `at`, which moves behind it. Only for what `append` made.
inline char32_t next(const char *&at)
{
    const auto byte = [&](int index) { return char32_t(uchar(at[index])); };
    const int size = length(*at);
    char32_t character = byte(0);
    if (size == 2)
        character = (byte(0) & 0x1F) << 6 | (byte(1) & 0x3F);
    else if (size == 3)
        character = (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    else if (size == 4)
        character = (byte(0) & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
    at += size;
    return character;
}

} // namespace moorix::TerminalUtf8
