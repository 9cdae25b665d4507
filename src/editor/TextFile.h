// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/LineEnds.h"
#include "files/TextEncoding.h"

#include <QDateTime>

#include <optional>
#include <stop_token>

namespace moorix {

class FileService;

/// What of a file tells whether it was written since.
struct FileVersion
{
    qint64 size = 0;
    std::optional<QDateTime> modified;
    /// SHA-256 of the contents.
    QByteArray checksum;

    bool operator==(const FileVersion &) const = default;
};

/// Why a file of this machine is opened for reading only.
struct WriteProtection
{
    /// A sentence; empty where the file can be written.
    QString reason;
    /// It is only the file's mode, which this user need not heed.
    bool isWaivable = false;
};

/// A text file as it was read.
struct LoadedText
{
    /// UTF-8, with the line ends of the file.
    QByteArray text;
    TextEncoding encoding = TextEncoding::utf8;
    LineEnds lineEnds;
    /// Bytes of the longest line.
    qsizetype longestLine = 0;
    FileVersion version;
};

/// Text files from the disk and back, whole or not at all. Blocking; worker threads.
namespace textFile {

/// Larger files are refused.
constexpr qint64 maxBytes = 20'000'000;

enum class Obstacle { none, noText, tooLarge };
struct Reading
{
    Obstacle obstacle = Obstacle::none;
    /// Of the file, or of what a link leads to.
    qint64 size = 0;
    LoadedText loaded;
};

/// Reads a file, by `encoding` where somebody chose one. Throws what the service throws.
Reading load(FileService &service, const QString &path, std::optional<TextEncoding> encoding,
             const std::stop_token &stop);

/// Of a file of this machine.
WriteProtection protectionOf(const QString &path);

/// Whether saving writes over this file of this machine, which an interruption leaves neither old nor new: where it has
/// several names.
bool isWrittenOver(const QString &path);

enum class Standing { same, changed, gone };
/// Whether the file is still the one that `known` tells of. One that was only touched is.
Standing standing(FileService &service, const QString &path, const FileVersion &known, const std::stop_token &stop);

struct Saving
{
    /// What stands there; nothing was written unless that is `same`.
    Standing standing = Standing::same;
    FileVersion version;
};
/// Replaces the file, in one step unless `isWrittenOver`, unless it is no longer the one that `known` tells of; without
/// it, whatever stands there. A link stays one, the mode is kept. Throws an Error when it cannot be written; the file
/// is as it was then.
Saving save(FileService &service, const QString &path, const QByteArray &bytes, const std::optional<FileVersion> &known,
            const std::stop_token &stop);

/// The first character that the encoding has no bytes for, and its line, counted from 1. Nothing where it has for all.
struct Unencodable
{
    QString character;
    int line = 0;
};
std::optional<Unencodable> firstUnencodable(const QString &text, TextEncoding encoding);

} // namespace textFile

} // namespace moorix
