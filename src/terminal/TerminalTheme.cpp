// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalTheme.h"

#include <algorithm>

namespace moorix::TerminalThemeCatalog {

namespace {

using Ansi = std::array<const char *, 16>;

struct Row
{
    const char *id;
    const char *name;
    const char *background;
    const char *foreground;
    const char *cursor;
    Ansi ansi;
};

// clang-format off
constexpr Row rows[] = {
    {"classic", "Classic (Black)", "#000000", "#e6e6e6", "#ffffff",
     {"#3a3a3a", "#e5534b", "#57ab5a", "#d4a72c", "#6c9ef8", "#c678dd", "#39c5cf", "#c9d1d9",
      "#6e7681", "#ff7b72", "#7ee787", "#f2cc60", "#91b8ff", "#d9a6ff", "#66e0e8", "#ffffff"}},
    {"novel", "Novel (Light)", "#f4ecd8", "#3a2a1c", "#7a4a1e",
     {"#2e2118", "#a8281c", "#4c6a14", "#8a5a00", "#26558f", "#86357d", "#126a6a", "#b9a98c",
      "#5e4c3c", "#c03a2b", "#5a7a1a", "#986600", "#2f68ac", "#9c4292", "#1a7a7a", "#d8cbb0"}},
    {"solarized-dark", "Solarized Dark", "#002b36", "#c5cfcf", "#93a1a1",
     {"#073642", "#e8605d", "#859900", "#b58900", "#3b9be0", "#e0609e", "#2aa198", "#eee8d5",
      "#6c858d", "#f0703a", "#93a85a", "#c9a227", "#839496", "#8f93db", "#93a1a1", "#fdf6e3"}},
    {"tokyo-night", "Tokyo Night", "#1a1b26", "#c8d0f2", "#c0caf5",
     {"#32364f", "#f7768e", "#9ece6a", "#e0af68", "#7aa2f7", "#bb9af7", "#7dcfff", "#a9b1d6",
      "#686f9a", "#ff8fa3", "#b4e08a", "#f0c685", "#95b6ff", "#cdb3ff", "#9bdcff", "#dce2fa"}},
    {"one-dark", "One Dark", "#282c34", "#d3d8e2", "#61afef",
     {"#3f4451", "#e5737c", "#98c379", "#e5c07b", "#61afef", "#c97fe0", "#56b6c2", "#abb2bf",
      "#7f8794", "#f08c94", "#b0d894", "#f0d29a", "#80c2f7", "#d89aec", "#78cbd6", "#e6eaf0"}},
    {"matrix", "Matrix", "#020a04", "#7cff9b", "#b6ffc8",
     {"#12381c", "#d9a441", "#2fd15b", "#b8e04a", "#3fbf8f", "#7fcf6b", "#4fe0b0", "#a6f2b8",
      "#3d8a52", "#f0c060", "#5cf082", "#d2f574", "#66ddb0", "#a2ee8e", "#80f5d0", "#e2ffe9"}},
    {"amber", "Amber", "#140c02", "#ffc45c", "#ffe0a3",
     {"#4a3208", "#ff7a45", "#c9b037", "#ffb000", "#d09a5c", "#f0915a", "#d8b878", "#f2d9a6",
      "#96702c", "#ff9a70", "#e0ca5c", "#ffcc55", "#e6b680", "#ffb088", "#edd09c", "#fff1d6"}},
    {"aurora", "Aurora", "#101a24", "#d4e4ec", "#6fe3c4",
     {"#26394a", "#f27c8d", "#6fdca4", "#f0d075", "#6cb4f5", "#b99cf2", "#5fddd6", "#bcd0db",
      "#68849a", "#ff9aa8", "#92edbd", "#ffe29a", "#92cbff", "#cfb8ff", "#8cefe9", "#f0f8fb"}},
    {"sunset-drive", "Sunset Drive", "#1f1230", "#f4dde8", "#ff9e64",
     {"#3e2a5c", "#ff6b8b", "#7fd6a2", "#ffb86b", "#7fa8ff", "#f08ce0", "#6fd8e8", "#d9c2dc",
      "#86709f", "#ff8fa6", "#a2e8be", "#ffd093", "#a3c0ff", "#ffaeee", "#98e8f4", "#fff3f8"}},
    {"glacier", "Glacier (Light)", "#f2f7fa", "#1d3341", "#1f6f9f",
     {"#1d3341", "#b3283e", "#1f7244", "#8a5f00", "#1b62a8", "#7a3fa0", "#0b6f82", "#b4c4ce",
      "#4c6475", "#cc3a50", "#2a8250", "#966a00", "#2a74c0", "#8c50b4", "#15808f", "#d6e2e9"}},
    {"espresso", "Espresso", "#2b211c", "#ebdccb", "#d9a066",
     {"#4c3c33", "#e8776a", "#a6c26c", "#e6b566", "#8fb4d8", "#d49ab8", "#86c4b8", "#cdbba7",
      "#93816f", "#f29488", "#bcd586", "#f2c985", "#abcae8", "#e4b2cb", "#a2d8cd", "#faf0e3"}},
};

constexpr Ansi onDark{
    "#2a3650", "#f27781", "#4cc38a", "#e6b566", "#6ea8fe", "#c792ea", "#5ccfe6", "#b6c2d6",
    "#66748f", "#ff99a1", "#7be0ae", "#ffd08a", "#94c0ff", "#dbb0ff", "#8ce2f2", "#f1f5fc"};
constexpr Ansi onLight{
    "#1c2433", "#c42b3b", "#1a7f4b", "#8a5a00", "#1f6feb", "#8b3fb5", "#0b7285", "#c3cbd8",
    "#566279", "#d43f4e", "#238a55", "#966400", "#3a80f0", "#9c52c4", "#168091", "#e3e8f0"};
// clang-format on

std::array<QString, 16> texts(const Ansi &ansi)
{
    std::array<QString, 16> result;
    std::ranges::transform(ansi, result.begin(), [](const char *hex) { return QString::fromLatin1(hex); });
    return result;
}

QList<TerminalTheme> makeAll()
{
    QList<TerminalTheme> themes{{QStringLiteral("app"), QStringLiteral("Match App Theme"), {}, {}, {}, {}}};
    for (const Row &row : rows) {
        themes +=
            {QString::fromLatin1(row.id),         QString::fromLatin1(row.name),   QString::fromLatin1(row.background),
             QString::fromLatin1(row.foreground), QString::fromLatin1(row.cursor), texts(row.ansi)};
    }
    return themes;
}

} // namespace

const QList<TerminalTheme> &all()
{
    static const QList<TerminalTheme> themes = makeAll();
    return themes;
}

const TerminalTheme &theme(const QString &id)
{
    const auto found = std::ranges::find(all(), id, &TerminalTheme::id);
    return found == all().cend() ? all().front() : *found;
}

const std::array<QString, 16> &appAnsi(bool isDark)
{
    static const std::array<QString, 16> dark = texts(onDark);
    static const std::array<QString, 16> light = texts(onLight);
    return isDark ? dark : light;
}

} // namespace moorix::TerminalThemeCatalog
