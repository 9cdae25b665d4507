// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/dialogs/ShortcutsOverview.h"

#include "ui/Widgets.h"
#include "ui/WindowActions.h"
#include "ui/editor/EditorCommand.h"

#include <QAction>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

namespace moorix {

namespace {

QString withoutMnemonic(QString text)
{
    return text.remove(u'&');
}

/// A command and its keys.
struct Line
{
    QString text;
    QList<QKeySequence> keys;
};

QList<Line> linesOf(const WindowActions &actions, const WindowActions::Menu &menu)
{
    QList<Line> lines;
    for (const WindowActions::Entry &entry : menu.entries) {
        const QAction *action = actions.action(entry);
        if (action && !action->shortcuts().isEmpty())
            lines.append({withoutMnemonic(action->text()), action->shortcuts()});
    }
    return lines;
}

/// Of the rows of a sync, which stand in no menu.
QList<Line> linesOfSyncs()
{
    return {{ShortcutsOverview::tr("This computer wins"), {Qt::Key_Right}},
            {ShortcutsOverview::tr("The server wins"), {Qt::Key_Left}},
            {ShortcutsOverview::tr("Next choice"), {Qt::Key_Space}},
            {ShortcutsOverview::tr("Keep both"), {Qt::Key_B}},
            {ShortcutsOverview::tr("Skip"), {Qt::Key_S}},
            {ShortcutsOverview::tr("As suggested"), {Qt::Key_U}},
            {ShortcutsOverview::tr("Close or open a folder"), {Qt::Key_Return}},
            {ShortcutsOverview::tr("Sync"), {Qt::CTRL | Qt::Key_Return}}};
}

QList<Line> linesOfComparisons()
{
    return {{ShortcutsOverview::tr("Next or previous change"), {Qt::Key_F7, Qt::SHIFT | Qt::Key_F7}},
            {ShortcutsOverview::tr("Copy change to the right"), {Qt::ALT | Qt::Key_Right}},
            {ShortcutsOverview::tr("Copy change to the left"), {Qt::ALT | Qt::Key_Left}},
            {ShortcutsOverview::tr("Undo, redo"), {Qt::CTRL | Qt::Key_Z, Qt::CTRL | Qt::SHIFT | Qt::Key_Z}},
            {ShortcutsOverview::tr("Save"), {Qt::CTRL | Qt::Key_S}},
            {ShortcutsOverview::tr("Wrap long lines"), {Qt::ALT | Qt::Key_Z}}};
}

QList<Line> linesOfEditor()
{
    QList<Line> lines{{ShortcutsOverview::tr("Edit the selected file"), infoOf(PaneCommand::edit).keys}};
    for (const EditorCommandInfo &info : editorCommands())
        lines.append({info.text, info.keys});
    return lines;
}

/// Names on the left, keys on the right.
QWidget *makeGroup(const QString &title, const QList<Line> &lines, QWidget *parent)
{
    auto *group = new QWidget(parent);
    group->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto *grid = new QGridLayout(group);
    grid->setContentsMargins(0, 0, 0, 14);
    grid->setVerticalSpacing(6);
    grid->setColumnStretch(0, 1);
    grid->addWidget(Widgets::label(title, Widgets::TextRole::heading, group), 0, 0, 1, 2);
    int row = 1;
    for (const Line &line : lines) {
        grid->addWidget(new QLabel(line.text, group), row, 0);
        auto *keys = new QHBoxLayout;
        keys->setSpacing(4);
        keys->addStretch(1);
        for (const QKeySequence &sequence : line.keys) {
            auto *key = new QLabel(sequence.toString(QKeySequence::NativeText), group);
            key->setProperty("role", QStringLiteral("keys"));
            keys->addWidget(key);
        }
        grid->addLayout(keys, row++, 1);
    }
    return group;
}

} // namespace

ShortcutsOverview::ShortcutsOverview(const WindowActions &actions, QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("shortcutsOverview"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Keyboard shortcuts"));
    resize(860, 620);
    auto *body = new QWidget(this);
    body->setProperty("role", QStringLiteral("pageBody"));
    auto *columns = new QHBoxLayout(body);
    columns->setContentsMargins(24, 20, 24, 20);
    columns->setSpacing(40);
    auto *left = new QVBoxLayout;
    auto *right = new QVBoxLayout;
    columns->addLayout(left, 1);
    columns->addLayout(right, 1);
    qsizetype balance = 0;
    const auto add = [&](const QString &title, const QList<Line> &lines) {
        if (lines.isEmpty())
            return;
        const bool isLeft = balance <= 0;
        balance += isLeft ? lines.size() + 2 : -lines.size() - 2;
        (isLeft ? left : right)->addWidget(makeGroup(title, lines, body));
    };
    for (const WindowActions::Menu &menu : WindowActions::menus())
        add(withoutMnemonic(menu.title), linesOf(actions, menu));
    add(tr("Rows of a sync"), linesOfSyncs());
    add(tr("Comparisons"), linesOfComparisons());
    add(tr("Editor"), linesOfEditor());
    left->addStretch(1);
    right->addStretch(1);
    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", QStringLiteral("page"));
    scroll->setWidgetResizable(true);
    scroll->setAccessibleName(windowTitle());
    scroll->setWidget(body);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(scroll);
}

} // namespace moorix
