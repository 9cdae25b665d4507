// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace moorix {

/// Patterns for the names of one folder, as shells take them: "*" is any text, "?" any character, "[a-z]" one of these
/// and "[!a-z]" or "[^a-z]" one of all others; "\" takes the meaning from what follows. What opens no bracket that is
/// closed stands for itself. Names with a dot in front are meant only where the pattern begins with one.
namespace NamePattern {

/// Whether there is anything in it that stands for more than itself.
bool isPattern(QStringView text);
bool matches(QStringView pattern, QStringView name);

} // namespace NamePattern

} // namespace moorix
