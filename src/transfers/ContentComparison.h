// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

#include <optional>
#include <stop_token>

namespace moorix {

class FileService;

/// What two files hold, against each other.
struct ContentComparison
{
    enum class Result {
        same,
        different,
        /// They are too large to be fetched, and a server does not tell their checksums.
        unknown
    };
    Result result = Result::unknown;
    /// Where they part, of files that were read: the line, counted from 1, of two texts, else the byte, counted from 0.
    std::optional<qint64> line = {};
    std::optional<qint64> byte = {};

    /// Reads files of up to 5 MiB; larger ones are compared by size and SHA-256. Links count as what they lead to.
    /// Blocking; worker threads. Throws what reading throws.
    static ContentComparison of(FileService &one, const FileItem &oneFile, FileService &other,
                                const FileItem &otherFile, const std::stop_token &stop);
    static ContentComparison of(QByteArrayView one, QByteArrayView other);
};

} // namespace moorix
