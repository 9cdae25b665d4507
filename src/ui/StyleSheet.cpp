// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/StyleSheet.h"

#include "ui/Theme.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace moorix::Theme {

namespace {

/// Names in angle brackets stand for colours.
const auto sheetTemplate = uR"(
QMainWindow, QDialog { background: <window>; }
QMainWindow::separator, QSplitter::handle { background: <border>; }
QSplitter::handle:horizontal { width: 1px; }
QSplitter::handle:vertical { height: 1px; }

QToolTip { background: <toolBar>; color: <text>; border: 1px solid <border>; padding: 4px 6px; }

QToolBar { background: <toolBar>; border: none; border-bottom: 1px solid <border>; padding: 6px 8px; spacing: 3px; }
QToolBar::separator { background: <border>; width: 1px; margin: 6px 6px; }
QToolButton { border: 1px solid transparent; border-radius: 6px; padding: 4px 7px; color: <text>; }
QToolButton:hover { background: <hover>; }
QToolButton:pressed, QToolButton:checked { background: <selection>; }
QToolButton:focus { border-color: <accent>; }
QToolButton:disabled { color: <faintText>; }
QToolButton::menu-indicator { image: none; }

QTabBar { background: <sidebar>; qproperty-drawBase: 0; }
QTabBar::tab { background: transparent; color: <mutedText>; padding: 6px 14px; border: none;
    border-bottom: 2px solid transparent; min-height: 18px; }
QTabBar::tab:selected { color: <text>; background: <base>; border-bottom-color: <accent>; }
QTabBar::tab:hover:!selected { background: <hover>; color: <text>; }
QTabBar::tab:focus { color: <accent>; }

QLineEdit, QPlainTextEdit, QTextEdit, QSpinBox, QDoubleSpinBox, QComboBox {
    background: <base>; color: <text>; border: 1px solid <border>; border-radius: 6px; padding: 4px 8px;
    selection-background-color: <selection>; selection-color: <text>; }
QLineEdit:focus, QPlainTextEdit:focus, QTextEdit:focus, QSpinBox:focus, QDoubleSpinBox:focus, QComboBox:focus {
    border-color: <accent>; }
QLineEdit:disabled, QSpinBox:disabled, QComboBox:disabled { color: <faintText>; background: <window>; }
QComboBox::drop-down { border: none; width: 22px; }
QComboBox QAbstractItemView { background: <toolBar>; border: 1px solid <border>; selection-background-color: <selection>;
    outline: none; padding: 4px; }

QLineEdit[role="inCell"] { border-color: <accent>; border-radius: 4px; padding: 0 4px; }
#pathField { background: <base>; border: 1px solid <border>; border-radius: 6px; }
#pathField:hover { border-color: <faintText>; }
#pathField[editing="true"] { border-color: <accent>; }
#pathField QLineEdit { background: transparent; border: none; padding: 2px 0; }
#completionPopup { background: <toolBar>; border: 1px solid <border>; padding: 4px; }
#completionPopup::item { padding: 4px 8px; border-radius: 4px; }
#completionPopup::item:selected { background: <selection>; color: <text>; }
QToolButton[role="crumb"] { padding: 2px 5px; border-radius: 4px; }
QFrame[role="statusLine"] { background: <sidebar>; border: none; border-top: 1px solid <border>; }
QFrame[role="statusLine"] QPushButton { padding: 0 6px; min-height: 14px; }
QPlainTextEdit[role="page"] { border: none; border-radius: 0; }

QPushButton { background: <toolBar>; color: <text>; border: 1px solid <border>; border-radius: 6px; padding: 4px 14px;
    min-height: 18px; outline: none; }
QPushButton:hover { background: <hover>; }
QPushButton:pressed { background: <selection>; }
QPushButton:focus { border-color: <accent>; }
QPushButton:disabled { color: <faintText>; }
QPushButton::menu-indicator { image: none; width: 0; }
QPushButton:checked { background: <inactiveSelection>; border-color: <accent>; }
QPushButton[role="primary"], QPushButton:default { background: <selection>; border-color: <accent>; }
QPushButton[role="primary"]:hover, QPushButton:default:hover { background: <hover>; }
QPushButton[role="primary"]:focus, QPushButton:checked:focus { border-width: 2px; padding: 3px 13px; }
QPushButton[role="primary"]:disabled { background: transparent; border-color: <border>; }
QPushButton[role="danger"] { color: <danger>; border-color: <danger>; }
QPushButton[role="danger"]:focus { background: <hover>; border-width: 2px; padding: 3px 13px; }
QPushButton[role="link"] { background: transparent; border: 1px solid transparent; color: <accent>; padding: 2px 6px; }
QPushButton[role="link"]:focus { border-color: <accent>; }

QLabel[role="muted"] { color: <mutedText>; }
QLabel[role="section"] { color: <faintText>; font-weight: 600; }
QLabel[role="title"] { font-weight: 600; }
QLabel[role="error"] { color: <danger>; }

QFrame[role="bar"] { background: <sidebar>; border: none; border-bottom: 1px solid <border>; }
QFrame[role="lowerBar"] { background: <sidebar>; border: none; border-top: 1px solid <border>; }
QLabel[role="floating"] { background: <toolBar>; color: <text>; border: 1px solid <border>; border-radius: 6px;
    padding: 4px 10px; }
QPushButton[role="chip"] { background: transparent; color: <mutedText>; border-radius: 11px; padding: 2px 11px; }
QPushButton[role="chip"]:hover { background: <hover>; color: <text>; }
QPushButton[role="chip"]:checked { background: <selection>; border-color: <accent>; color: <text>; }
QPushButton[role="chip"]:focus { border: 2px solid <accent>; padding: 1px 10px; color: <text>; }
QPushButton[role="chip"][tone="warning"] { color: <warning>; border-color: <warning>; }
QFrame[role="note"] { background: <accentGround>; border: none; border-left: 3px solid <accent>; border-radius: 4px; }
QFrame[role="note"][tone="warning"] { background: <warningGround>; border-left-color: <warning>; }
QFrame[role="card"] { background: <toolBar>; border: 1px solid <border>; border-radius: 8px; }
moorix--MessageBar { background: <accentGround>; border: none; border-left: 3px solid <accent>;
    border-bottom: 1px solid <border>; }
moorix--MessageBar[tone="warning"] { background: <warningGround>; border-left-color: <warning>; }
moorix--MessageBar[tone="danger"] { background: <dangerGround>; border-left-color: <danger>; }

QAbstractItemView { background: <base>; border: none; outline: none; selection-background-color: <selection>;
    selection-color: <text>; alternate-background-color: <base>; }
QHeaderView { background: <base>; border: none; border-bottom: 1px solid <border>; }
QHeaderView::section { background: <base>; color: <mutedText>; border: none; border-bottom: 1px solid <border>;
    padding: 6px 8px; font-weight: 600; }
QHeaderView::section:hover { color: <text>; background: <hover>; }
QTreeView QScrollBar:vertical { background: <base>; }
#fileListCorner { background: <base>; border-bottom: 1px solid <border>; }

QMenuBar { background: <toolBar>; color: <text>; }
QMenuBar::item { padding: 4px 8px; border-radius: 4px; background: transparent; }
QMenuBar::item:selected { background: <hover>; }
QMenu { background: <toolBar>; border: 1px solid <border>; padding: 5px; }
QMenu::item { padding: 5px 24px 5px 10px; border-radius: 5px; color: <text>; }
QMenu::icon { padding-left: 8px; }
QMenu::item:selected { background: <selection>; }
QMenu::item:disabled { color: <faintText>; }
QMenu::separator { height: 1px; background: <border>; margin: 5px 8px; }

QStatusBar { background: <sidebar>; color: <mutedText>; border-top: 1px solid <border>; }
QStatusBar::item { border: none; }
QProgressBar { background: <border>; border: none; border-radius: 3px; max-height: 6px; min-height: 6px; color: transparent; }
QProgressBar::chunk { background: <accent>; border-radius: 3px; }

QScrollBar:vertical { background: transparent; width: 12px; margin: 0; }
QScrollBar:horizontal { background: transparent; height: 12px; margin: 0; }
QScrollBar::handle { background: <border>; border-radius: 4px; margin: 2px; }
QScrollBar::handle:vertical { min-height: 32px; }
QScrollBar::handle:horizontal { min-width: 32px; }
QScrollBar::handle:hover { background: <faintText>; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
)"_s;

/// A tint of the role's colour on the ground of lists.
QColor ground(Color role)
{
    const QColor base = color(Color::base);
    const QColor tint = color(role);
    const auto channel = [](float under, float over) { return under * 0.87F + over * 0.13F; };
    return QColor::fromRgbF(channel(base.redF(), tint.redF()), channel(base.greenF(), tint.greenF()),
                            channel(base.blueF(), tint.blueF()));
}

} // namespace

QString styleSheet()
{
    const std::pair<QStringView, QColor> names[] = {
        {u"<window>", color(Color::window)},        {u"<base>", color(Color::base)},
        {u"<sidebar>", color(Color::sidebar)},      {u"<text>", color(Color::text)},
        {u"<mutedText>", color(Color::mutedText)},  {u"<faintText>", color(Color::faintText)},
        {u"<border>", color(Color::border)},        {u"<accent>", color(Color::accent)},
        {u"<selection>", color(Color::selection)},  {u"<inactiveSelection>", color(Color::inactiveSelection)},
        {u"<toolBar>", color(Color::toolBar)},      {u"<hover>", color(Color::hover)},
        {u"<warning>", color(Color::warning)},      {u"<danger>", color(Color::danger)},
        {u"<accentGround>", ground(Color::accent)}, {u"<warningGround>", ground(Color::warning)},
        {u"<dangerGround>", ground(Color::danger)},
    };
    QString sheet = sheetTemplate;
    for (const auto &[name, value] : names)
        sheet.replace(name.toString(), value.name());
    return sheet;
}

} // namespace moorix::Theme
