// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffEngine.h"
#include "compare/DiffPair.h"
#include "compare/DiffSide.h"
#include "files/TextEncoding.h"

#include <optional>
#include <stop_token>

namespace moorix {

/// Two files that were read and compared.
struct DiffContent
{
    struct Side
    {
        /// The file as it was found just before it was read; of a link, what it leads to.
        FileItem file;
        DiffText text;
        /// Of the bytes; nothing where they are no text.
        std::optional<TextEncoding> encoding;
        /// Of what is no text.
        QByteArray bytes;
    };
    Side left;
    Side right;
    DiffOptions options;
    QList<DiffEngine::Run> runs;
    /// Both hold the same bytes.
    bool isSame = false;
    /// False where too many lines in a row differ for them to be aligned.
    bool isAligned = true;
    /// Why there are no lines to compare: a sentence. Else empty.
    QString obstacle;
    /// The widest line of both, tabs going to each `tabWidth`th column.
    qsizetype columns = 0;

    const Side &side(DiffSide of) const { return of == DiffSide::left ? left : right; }

    static constexpr int tabWidth = 8;
};

namespace DiffLoader {

constexpr qint64 maxBytes = 5'242'880;

/// Reads both files and compares them. Blocking; on a worker. Throws what reading throws, and where one of them is
/// larger than `maxBytes`, by its listing or by now, says so without reading it.
DiffContent load(const DiffPair &pair, const DiffOptions &options, const std::stop_token &stop);
/// Reads one file, as `load` does.
DiffContent::Side read(FileService &service, const FileItem &file, const std::stop_token &stop);
/// Compares what was read, or what became of it. Pure; takes its time for long texts, and looks for a stop in between.
DiffContent compare(DiffContent::Side left, DiffContent::Side right, const DiffOptions &options,
                    const std::stop_token &stop);

} // namespace DiffLoader

} // namespace moorix
