// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/toolbar/ToolBarItems.h"

#include "ui/CommandNames.h"

#include <QCoreApplication>

namespace moorix::ToolBarItems {

namespace {

/// Begins a text that names the toolbar from its left end on.
constexpr auto wholeMark = QLatin1String("whole");

QStringList namesIn(const QString &raw)
{
    QStringList names;
    for (const QString &item : raw.split(u',')) {
        const QString name = item.trimmed();
        if (!name.isEmpty() && (name == separatorName || !names.contains(name)))
            names += name;
    }
    return names;
}

bool isKnown(const QString &name)
{
    return name == connectName || name == sortName || name == separatorName || CommandNames::commandOf(name);
}

} // namespace

const QStringList &standard()
{
    using W = WindowCommand;
    using P = PaneCommand;
    static const QStringList names = [] {
        QStringList made{connectName};
        constexpr std::monostate line;
        for (const WindowActions::Entry &command :
             std::initializer_list<WindowActions::Entry>{line, P::copyToOtherSide, P::moveToOtherSide, P::newFolder,
                                                         P::remove, line, P::compareFiles, W::sync, W::backups}) {
            const QString name = CommandNames::nameOf(command);
            made += name.isEmpty() ? QString(separatorName) : name;
        }
        return made;
    }();
    return names;
}

QStringList all()
{
    QStringList names{separatorName, connectName, sortName};
    for (const WindowActions::Menu &menu : WindowActions::menus()) {
        for (const WindowActions::Entry &command : menu.entries) {
            if (const QString name = CommandNames::nameOf(command); !name.isEmpty())
                names += name;
        }
    }
    return names;
}

QStringList shown(const QString &raw)
{
    QStringList names = namesIn(raw);
    const bool isWhole = names.value(0) == wholeMark;
    names.removeIf([isWhole](const QString &name) {
        return !isKnown(name) || (!isWhole && name != separatorName && standard().contains(name));
    });
    return isWhole ? names : standard() + names;
}

QString replacing(const QString &raw, const QStringList &shown)
{
    // Earlier versions understand what stands behind the standard items.
    const bool beginsAsUsual = shown.mid(0, standard().size()) == standard();
    QStringList names = beginsAsUsual ? shown.mid(standard().size()) : QStringList{wholeMark} + shown;
    for (const QString &name : namesIn(raw)) {
        if (!isKnown(name) && name != wholeMark)
            names += name;
    }
    return names.join(u',');
}

QString textOf(const QString &name)
{
    if (name == connectName)
        return QCoreApplication::translate("ToolBarItems", "Connect");
    if (name == sortName)
        return QCoreApplication::translate("ToolBarItems", "Sort");
    if (name == separatorName)
        return QCoreApplication::translate("ToolBarItems", "Separator");
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return command ? WindowActions::textOf(*command) : QString();
}

QString iconNameOf(const QString &name)
{
    if (name == connectName)
        return QStringLiteral("network-connect");
    if (name == sortName)
        return QStringLiteral("view-sort");
    if (name == separatorName)
        return QStringLiteral("distribute-horizontal-center");
    const std::optional<WindowActions::Entry> command = CommandNames::commandOf(name);
    return command ? WindowActions::iconNameOf(*command) : QString();
}

} // namespace moorix::ToolBarItems
