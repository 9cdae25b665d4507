// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/toolbar/ToolBarItems.h"

#include "ui/CommandNames.h"

#include <QCoreApplication>

namespace moorix::ToolBarItems {

namespace {

QStringList namesIn(const QString &raw)
{
    QStringList names;
    for (const QString &item : raw.split(u',')) {
        if (const QString name = item.trimmed(); !name.isEmpty() && !names.contains(name))
            names += name;
    }
    return names;
}

bool canBeAdded(const QString &name)
{
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return name == sortName || (command && !alwaysShown().contains(*command));
}

} // namespace

const QList<WindowActions::Entry> &alwaysShown()
{
    using W = WindowCommand;
    using P = PaneCommand;
    constexpr std::monostate line;
    static const QList<WindowActions::Entry> commands{
        P::copyToOtherSide, P::moveToOtherSide, P::newFolder, P::remove, line, P::compareFiles, W::sync, W::backups};
    return commands;
}

QStringList all()
{
    QStringList names{sortName};
    for (const WindowActions::Menu &menu : WindowActions::menus()) {
        for (const WindowActions::Entry &command : menu.entries) {
            const QString name = CommandNames::nameOf(command);
            if (canBeAdded(name))
                names += name;
        }
    }
    return names;
}

QStringList shown(const QString &raw)
{
    QStringList names = namesIn(raw);
    names.removeIf([](const QString &name) { return !canBeAdded(name); });
    return names;
}

QString replacing(const QString &raw, const QStringList &shown)
{
    QStringList names = shown;
    for (const QString &name : namesIn(raw)) {
        if (!canBeAdded(name) && !CommandNames::commandOf(name))
            names += name;
    }
    return names.join(u',');
}

QString textOf(const QString &name)
{
    if (name == sortName)
        return QCoreApplication::translate("ToolBarItems", "Sort");
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return command ? WindowActions::textOf(*command) : QString();
}

QString iconNameOf(const QString &name)
{
    if (name == sortName)
        return QStringLiteral("view-sort-ascending");
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return command ? WindowActions::iconNameOf(*command) : QString();
}

} // namespace moorix::ToolBarItems
