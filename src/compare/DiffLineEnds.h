// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

/// What the lines of a text end in; `none` where there is one line only.
enum class DiffLineEnds { none, lf, crlf, mixed };

/// "LF", "CRLF", "LF and CRLF"; empty for none.
QString nameOf(DiffLineEnds lineEnds);

} // namespace moorix
