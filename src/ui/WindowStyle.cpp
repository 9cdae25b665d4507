// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/WindowStyle.h"

#include "ui/Theme.h"

#include <QApplication>
#include <QFontInfo>

#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Names in angle brackets stand for colours and for sizes of text.
const auto sheetTemplate = uR"(
QToolBar#mainToolBar QToolButton { padding: 6px 9px; }
QToolBar#toolbarItems { border: none; padding: 0; }
QToolBar#mainToolBar QToolButton#qt_toolbar_ext_button { padding: 0; }
QListWidget[role="boxed"] { border: 1px solid <border>; border-radius: 6px; padding: 4px; }
QListWidget[role="boxed"]:focus { border-color: <accent>; }
QListWidget[role="boxed"]::item { padding: 5px 6px; border-radius: 4px; }
QListWidget[role="boxed"]::item:selected { background: <selection>; color: <text>; }
QTreeWidget#sidebar { background: <sidebar>; border: none; }
QTreeWidget#sidebar QScrollBar:vertical { background: <sidebar>; }
QWidget#sideHeader { background: <sidebar>; border-bottom: 1px solid <border>; }
QTabBar#sideTabs::tab { padding: 7px 6px 7px 12px; max-width: 200px; }
QTabBar#sideTabs QToolButton { padding: 0 4px 2px 4px; border-radius: 4px; margin-right: 2px; color: <faintText>;
    font-size: <larger>; }
QTabBar#sideTabs QToolButton:hover { color: <text>; }
QTabBar#sideTabs::tab:selected { background: <base>; border-bottom-color: <faintText>; }
QWidget#sideView[active="true"] QTabBar#sideTabs::tab:selected { border-bottom-color: <accent>; }
QWidget#sideView[active="false"] QTabBar#sideTabs::tab:selected { color: <mutedText>; }
QSplitter#sideSplitter::handle:hover { background: <accent>; }
QWidget#statusStrip { background: <sidebar>; border-top: 1px solid <border>; }
QWidget#statusStrip QLabel { color: <mutedText>; }
QFrame#transferDrawer { background: <sidebar>; border: none; }
QFrame#editedFilesBar { background: <toolBar>; border: none; border-top: 2px solid <warning>; }
QFrame#editedFilesBar[tone="danger"] { border-top-color: <danger>; }
QFrame#editedFilesBar[tone="quiet"] { border-top: 1px solid <border>; }
QFrame#updateBar { background: <toolBar>; border: none; border-top: 2px solid <accent>; }
QFrame#updateBar[tone="danger"] { border-top-color: <danger>; }
QFrame#updateBar QScrollArea, QFrame#updateBar QScrollArea > QWidget > QWidget { background: transparent; border: none; }
QPlainTextEdit#diagnosticsPayload { background: <base>; border: 1px solid <border>; border-radius: 6px; padding: 6px; }
QWidget#syncPage, QWidget#syncOverview { background: <base>; }
QFrame#syncRowBar, QFrame#syncFooter { background: <sidebar>; border: none; border-top: 1px solid <border>; }
QFrame#syncProgress, QFrame#syncEnd { background: <sidebar>; border: none; border-bottom: 1px solid <border>; }
QFrame#conflictBar { background: <toolBar>; border: none; border-top: 2px solid <warning>; }
QWidget#diffPage, QWidget#editorArea { background: <base>; }
QFrame#editorHeader { background: <sidebar>; border: none; border-bottom: 1px solid <border>; }
QTabBar#editorTabs::tab { padding: 8px 6px 8px 12px; }
QTabBar#editorTabs QToolButton { padding: 0; }
QTabBar#editorTabs QToolButton#closeTab { padding: 0 4px 2px 4px; border-radius: 4px; margin-right: 2px; color: <faintText>;
    font-size: <larger>; }
QTabBar#editorTabs QToolButton#closeTab:hover { color: <text>; }
QLabel#diffRemark { background: <sidebar>; border-bottom: 1px solid <border>; }
QLineEdit#diffSearch[tone="danger"] { border-color: <danger>; }
QToolButton#diffIgnore[tone="warning"] { color: <warning>; }
QLabel[role="heading"] { font-weight: 600; font-size: <larger>; }
QLabel[role="headline"] { font-weight: 600; font-size: <headline>; }
QLabel[role="keys"] { background: <toolBar>; border: 1px solid <border>; border-radius: 4px; padding: 1px 6px;
    color: <mutedText>; }
QLabel[role="headline"][scale="large"] { font-size: <title>; }
QFrame[role="separator"] { background: <border>; border: none; }
QTreeView#serverTree::item, QTreeWidget#transferList::item, QTreeWidget#syncRuns::item { padding: 4px 0; }
QListWidget#preferencePages { background: <sidebar>; border-right: 1px solid <border>; padding: 8px; }
QListWidget#preferencePages::item { padding: 8px 10px; border: 1px solid transparent; border-radius: 6px; }
QListWidget#preferencePages::item:selected { background: <selection>; color: <text>; }
QListWidget#preferencePages::item:focus { border-color: <accent>; }
QWidget#monitorArea, QWidget#backupArea, QWidget#backupOverview, QWidget#backupEditor, QWidget#backupJobPage, QWidget#archiveView { background: <window>; }
QFrame#backupCard:focus, QFrame#serverFolderPicker:focus { border-color: <accent>; }
QFrame#workBar, QFrame#restorePanel { background: <sidebar>; border: none; border-top: 1px solid <border>;
    border-bottom: 1px solid <border>; }
QTreeWidget[role="table"] { border: 1px solid <border>; border-radius: 6px; }
QTreeWidget[role="table"]:focus { border-color: <accent>; }
QTreeWidget[role="table"]::item, QTreeView#archiveTree::item { padding: 3px 0; }
QTreeWidget[role="table"] QHeaderView::section, QTreeView#archiveTree QHeaderView::section,
QTreeWidget#importTree QHeaderView::section { padding: 6px 12px; }
QTreeView#archiveTree { border-top: 1px solid <border>; }
QWidget#terminalBar, QWidget#terminalHeader { background: <sidebar>; border-bottom: 1px solid <border>; }
QWidget#terminalDock { background: <base>; }
QTabBar#terminalTabs::tab { padding: 6px 12px; }
QFrame#commandPalette { background: <toolBar>; border: 1px solid <faintText>; border-radius: 10px; }
QLineEdit#paletteQuery { padding: 7px 10px; font-size: <larger>; }
QListView#paletteList { background: transparent; }
QSplitter#terminalSplitter::handle:hover { background: <accent>; }
QLabel#shakeHint { background: <toolBar>; color: <text>; border: 1px solid <border>; border-radius: 14px;
    padding: 6px 14px; }
QLabel#shakeHint[armed="true"] { background: <selection>; border-color: <accent>; }
QLabel[tone="quiet"] { color: <mutedText>; }
QLabel[tone="good"] { color: <success>; }
QLabel[tone="warning"] { color: <warning>; }
QLabel[tone="danger"] { color: <danger>; }
QListWidget#backupSources, QListWidget#pickerFolders { border: 1px solid <border>; border-radius: 6px; padding: 2px; }
QListWidget#backupSources:focus, QListWidget#pickerFolders:focus { border-color: <accent>; }
QListWidget#backupSources::item, QListWidget#pickerFolders::item { padding: 2px 4px; }
QScrollArea[role="page"], QScrollArea[role="page"] > QWidget, QWidget[role="pageBody"] { border: none;
    background: <window>; }
)"_s;

} // namespace

QString windowStyleSheet()
{
    using enum Theme::Color;
    const std::pair<QStringView, QColor> names[] = {
        {u"<window>", Theme::color(window)},       {u"<base>", Theme::color(base)},
        {u"<sidebar>", Theme::color(sidebar)},     {u"<toolBar>", Theme::color(toolBar)},
        {u"<text>", Theme::color(text)},           {u"<mutedText>", Theme::color(mutedText)},
        {u"<faintText>", Theme::color(faintText)}, {u"<border>", Theme::color(border)},
        {u"<accent>", Theme::color(accent)},       {u"<selection>", Theme::color(selection)},
        {u"<warning>", Theme::color(warning)},     {u"<danger>", Theme::color(danger)},
        {u"<success>", Theme::color(success)},
    };
    QString sheet = sheetTemplate;
    for (const auto &[name, color] : names)
        sheet.replace(name.toString(), color.name());
    // Above the size that the user has set, however large it is.
    const int size = QFontInfo(QApplication::font()).pixelSize();
    for (const auto &[name, more] :
         {std::pair(u"<larger>"_s, 2), std::pair(u"<headline>"_s, 5), std::pair(u"<title>"_s, 11)})
        sheet.replace(name, u"%1px"_s.arg(size + more));
    return sheet;
}

} // namespace moorix
