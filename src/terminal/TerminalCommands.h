// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>
#include <variant>

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
using Command = std::variant<Title, WorkingFolder, Link, PromptStart, ClipboardText>;

/// Nothing for what is unknown, broken or not done, such as reading the clipboard or setting colours.
std::optional<Command> parse(QByteArrayView text);

} // namespace moorix::TerminalCommands
