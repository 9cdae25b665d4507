// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <array>
#include <optional>

namespace moorix {

/// Colours of a terminal as "#RRGGBB".
struct TerminalTheme
{
    QString id;
    QString name;
    /// Absent: the colour of the program's own theme.
    std::optional<QString> backgroundHex;
    std::optional<QString> foregroundHex;
    std::optional<QString> cursorHex;
    /// Black, red, green, yellow, blue, magenta, cyan, white, and the same bright. Absent: those of the program's own
    /// theme.
    std::optional<std::array<QString, 16>> ansiHex;

    friend bool operator==(const TerminalTheme &, const TerminalTheme &) = default;
};

/// The built-in themes.
namespace TerminalThemeCatalog {

/// "Match App Theme" first.
const QList<TerminalTheme> &all();
/// The theme of this id, or the first one.
const TerminalTheme &theme(const QString &id);
/// The sixteen colours that go with a dark or a light ground of the program's own theme.
const std::array<QString, 16> &appAnsi(bool isDark);

} // namespace TerminalThemeCatalog

} // namespace moorix
