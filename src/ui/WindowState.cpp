// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/WindowState.h"

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "base/Json.h"
#include "platform/Preferences.h"
#include "servers/ServerStore.h"
#include "ui/SideView.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMainWindow>
#include <QSplitter>

namespace moorix::WindowState {

namespace {

const QString geometryKey = QStringLiteral("window.geometry");
const QString dividerKey = QStringLiteral("window.divider");
const QString sidebarWidthKey = QStringLiteral("window.sidebarWidth");
const QString sidebarShownKey = QStringLiteral("window.sidebarShown");
const QString swappedKey = QStringLiteral("window.sidesSwapped");
const QString serverKey = QStringLiteral("server");
const QString pathKey = QStringLiteral("path");

QString tabsKey(Side side)
{
    return side == Side::left ? QStringLiteral("window.leftTabs") : QStringLiteral("window.rightTabs");
}

QString currentTabKey(Side side)
{
    return side == Side::left ? QStringLiteral("window.leftTab") : QStringLiteral("window.rightTab");
}

/// Whether the right side stands on the left.
bool isSwapped(const QSplitter &sides)
{
    const auto *first = qobject_cast<const SideView *>(sides.widget(0));
    return first && first->side() == Side::right;
}

/// A local folder is its path, a server an object with its id and folder, the library an empty object. Servers that are
/// not in the library have no entry: nothing of them is kept; nor have terminals, whose programs ended with the window.
std::optional<QJsonValue> saved(const AppModel &model, const Session &session)
{
    if (session.mode() == PaneMode::local)
        return session.folderToRemember();
    if (session.mode() == PaneMode::servers)
        return QJsonObject();
    if (session.mode() == PaneMode::terminal)
        return std::nullopt;
    if (!session.server() || !model.servers().server(session.server()->id))
        return std::nullopt;
    return QJsonObject{{serverKey, uuidText(session.server()->id)}, {pathKey, session.folder()}};
}

/// Nothing for a value of another form, and for a server that is gone from the library.
std::optional<PaneTabs::SavedTab> tabFrom(const AppModel &model, const QJsonValue &value)
{
    if (value.isString() && value.toString().startsWith(u'/'))
        return PaneTabs::SavedTab{PaneMode::local, value.toString(), {}};
    if (!value.isObject())
        return std::nullopt;
    if (value.toObject().isEmpty())
        return PaneTabs::SavedTab{PaneMode::servers, {}, {}};
    const std::optional<ServerConnection> server = model.servers().server(QUuid(value[serverKey].toString()));
    if (!server)
        return std::nullopt;
    return PaneTabs::SavedTab{PaneMode::remote, value[pathKey].toString(), server};
}

void restoreTabs(AppModel &model, Side side)
{
    const Preferences &preferences = model.preferences();
    const int wantedCurrent = preferences.value(currentTabKey(side)).toInt(0);
    QList<PaneTabs::SavedTab> tabs;
    qsizetype current = 0;
    int place = 0;
    for (const QJsonValue &value : preferences.value(tabsKey(side)).toArray()) {
        const std::optional<PaneTabs::SavedTab> tab = tabFrom(model, value);
        if (place++ == wantedCurrent)
            current = tabs.size();
        if (tab)
            tabs += *tab;
    }
    model.tabs(side).restore(tabs, current);
}

} // namespace

void saveTabs(AppModel &model)
{
    for (const Side side : {Side::left, Side::right}) {
        QJsonArray entries;
        qsizetype current = 0;
        const PaneTabs &tabs = model.tabs(side);
        for (const Session *session : tabs.sessions()) {
            if (session == &tabs.current())
                current = entries.size();
            if (const std::optional<QJsonValue> entry = saved(model, *session))
                entries += *entry;
        }
        model.preferences().setValue(tabsKey(side), entries);
        model.preferences().setValue(currentTabKey(side), current);
    }
}

void save(AppModel &model, const QMainWindow &window, const QSplitter &outer, const QSplitter &sides)
{
    Preferences &preferences = model.preferences();
    saveTabs(model);
    preferences.setValue(geometryKey, QString::fromLatin1(window.saveGeometry().toBase64()));
    const QList<int> widths = sides.sizes();
    if (widths.value(0) > 0 && widths.value(1) > 0)
        preferences.setValue(dividerKey, double(widths.at(0)) / (widths.at(0) + widths.at(1)));
    preferences.setValue(swappedKey, isSwapped(sides));
    const bool isSidebarShown = outer.widget(0)->isVisibleTo(&window);
    preferences.setValue(sidebarShownKey, isSidebarShown);
    if (isSidebarShown && outer.sizes().at(0) > 0)
        preferences.setValue(sidebarWidthKey, outer.sizes().at(0));
}

void restore(AppModel &model, QMainWindow &window, QSplitter &outer, QSplitter &sides)
{
    const Preferences &preferences = model.preferences();
    for (const Side side : {Side::left, Side::right})
        restoreTabs(model, side);
    window.restoreGeometry(QByteArray::fromBase64(preferences.value(geometryKey).toString().toLatin1()));
    if (preferences.value(swappedKey).toBool() != isSwapped(sides))
        sides.insertWidget(0, sides.widget(1));
    constexpr int parts = 100000;
    const double divider = preferences.value(dividerKey).toDouble(0.5);
    if (divider > 0.05 && divider < 0.95)
        sides.setSizes({int(divider * parts), int((1 - divider) * parts)});
    const int sidebar = preferences.value(sidebarWidthKey).toInt(196);
    if (sidebar > 0 && sidebar < window.width())
        outer.setSizes({sidebar, window.width() - sidebar});
    outer.widget(0)->setVisible(preferences.value(sidebarShownKey).toBool(true));
}

} // namespace moorix::WindowState
