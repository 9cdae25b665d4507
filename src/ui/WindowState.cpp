// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/WindowState.h"

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "files/PaneModel.h"
#include "platform/Preferences.h"

#include <QJsonArray>
#include <QMainWindow>
#include <QSplitter>

namespace moorix::WindowState {

namespace {

const QString geometryKey = QStringLiteral("window.geometry");
const QString dividerKey = QStringLiteral("window.divider");
const QString sidebarWidthKey = QStringLiteral("window.sidebarWidth");
const QString sidebarShownKey = QStringLiteral("window.sidebarShown");

QString tabsKey(Side side)
{
    return side == Side::left ? QStringLiteral("window.leftTabs") : QStringLiteral("window.rightTabs");
}

QString currentTabKey(Side side)
{
    return side == Side::left ? QStringLiteral("window.leftTab") : QStringLiteral("window.rightTab");
}

void restoreTabs(AppModel &model, Side side)
{
    const Preferences &preferences = model.preferences();
    PaneTabs &tabs = model.tabs(side);
    bool isFirst = true;
    for (const QJsonValue &value : preferences.value(tabsKey(side)).toArray()) {
        const QString path = value.toString();
        if (!path.startsWith(u'/'))
            continue;
        if (isFirst)
            tabs.openLocalHere(path);
        else
            tabs.openLocal(path);
        isFirst = false;
    }
    tabs.setCurrentIndex(preferences.value(currentTabKey(side)).toInt(0));
}

} // namespace

void saveTabs(AppModel &model)
{
    for (const Side side : {Side::left, Side::right}) {
        QJsonArray paths;
        qsizetype current = 0;
        const PaneTabs &tabs = model.tabs(side);
        for (const Session *session : tabs.sessions()) {
            if (session == &tabs.current())
                current = paths.size();
            if (session->mode() != PaneMode::local)
                continue;
            const QString path = session->pane()->currentPath();
            paths += path.isEmpty() ? session->pane()->loadingPath() : path;
        }
        model.preferences().setValue(tabsKey(side), paths);
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
