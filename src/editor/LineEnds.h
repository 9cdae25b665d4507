// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace moorix {

enum class LineEnd { lf, crlf, cr };

/// "LF", "CRLF", "CR".
QString nameOf(LineEnd lineEnd);

/// How the lines of a text end.
struct LineEnds
{
    /// What most of them end with; LF where there is none.
    LineEnd most = LineEnd::lf;
    bool isMixed = false;

    /// Of UTF-8.
    static LineEnds of(QByteArrayView text);
    bool operator==(const LineEnds &) const = default;
};

/// The text with this end for every line.
QByteArray withLineEnds(QByteArrayView text, LineEnd lineEnd);

/// The longest line in bytes, its end not counted.
qsizetype longestLine(QByteArrayView text);

/// How the lines of a text are indented.
struct Indentation
{
    bool usesTabs = false;
    /// Columns of a step, and of a tab.
    int width = 4;

    /// By the first lines of UTF-8 that are indented; four spaces where there are none.
    static Indentation of(QByteArrayView text);
    bool operator==(const Indentation &) const = default;
};

} // namespace moorix
