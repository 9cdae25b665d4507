// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

/// "Operating system commands" (OSC): what programs tell a terminal beside text.
namespace moorix::TerminalCommands {

struct Title
{
    QString text;
};
struct WorkingFolder
{
    QString host;
    QString path;
};
/// An empty address ends the link.
struct Link
{
    QString address;
};
struct PromptStart
{
};
struct ClipboardText
{
    QString text;
};
/// What is done to one place of the terminal's colours.
struct ColorChange
{
    enum class Kind { ask, choose, forget };
    Kind kind = Kind::ask;
    int place = 0;
    quint32 color = 0;
};
struct Colors
{
    std::vector<ColorChange> changes;
};
using Command = std::variant<Title, WorkingFolder, Link, PromptStart, ClipboardText, Colors>;

/// Nothing for what is unknown, broken or not done, such as reading the clipboard.
std::optional<Command> parse(QByteArrayView text);

} // namespace moorix::TerminalCommands
