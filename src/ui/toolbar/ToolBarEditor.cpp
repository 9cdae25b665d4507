// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/toolbar/ToolBarEditor.h"

#include "settings/SettingsStore.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/toolbar/ToolBarItems.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace moorix {

namespace {

constexpr int nameRole = Qt::UserRole;

QString currentName(const QListWidget &list)
{
    const QListWidgetItem *item = list.currentItem();
    return item && !item->isHidden() ? item->data(nameRole).toString() : QString();
}

} // namespace

ToolBarEditor::ToolBarEditor(SettingsStore &settings, QWidget *parent)
    : QWidget(parent)
    , m_settings(settings)
    , m_search(new QLineEdit(this))
    , m_available(makeList(QStringLiteral("toolbarAvailable"), tr("Available commands")))
    , m_shown(makeList(QStringLiteral("toolbarShown"), tr("Commands on the toolbar")))
{
    setObjectName(QStringLiteral("toolbarEditor"));
    setProperty("role", QStringLiteral("pageBody"));
    m_search->setObjectName(QStringLiteral("toolbarSearch"));
    m_search->setPlaceholderText(tr("Search commands"));
    m_search->setAccessibleName(m_search->placeholderText());
    m_search->setClearButtonEnabled(true);
    QPushButton *restore = Widgets::button(tr("Restore defaults"), QStringLiteral("toolbarRestore"), this);
    auto *lists = new QHBoxLayout;
    lists->setSpacing(10);
    lists->addWidget(makeColumn(m_available, m_search), 1);
    lists->addWidget(makeButtons());
    lists->addWidget(makeColumn(m_shown, Widgets::label(tr("On the toolbar"), Widgets::TextRole::section, this)), 1);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(28, 22, 28, 22);
    column->setSpacing(10);
    column->addWidget(Widgets::label(tr("Toolbar"), Widgets::TextRole::headline, this));
    column->addWidget(Widgets::label(tr("Drag commands between the lists, or press Enter to add, Delete to remove, "
                                        "Alt+Up and Alt+Down to move. The filter stays at the right end."),
                                     Widgets::TextRole::muted, this));
    column->addLayout(lists, 1);
    column->addWidget(restore, 0, Qt::AlignLeft);

    connect(m_search, &QLineEdit::textChanged, this, &ToolBarEditor::filterAvailable);
    connect(restore, &QPushButton::clicked, this,
            [this] { store(ToolBarItems::shown(m_settings.toolbarItemsRaw.fallBack())); });
    connect(&settings, &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key == m_settings.toolbarItemsRaw.key())
            refresh();
    });
    refresh();
}

QListWidget *ToolBarEditor::makeList(const QString &objectName, const QString &name)
{
    auto *list = new QListWidget(this);
    list->setObjectName(objectName);
    list->setProperty("role", QStringLiteral("boxed"));
    list->setAccessibleName(name);
    list->setIconSize({16, 16});
    list->setTabKeyNavigation(false);
    list->setDragDropMode(QAbstractItemView::DragDrop);
    list->setDefaultDropAction(Qt::MoveAction);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->installEventFilter(this);
    connect(list, &QListWidget::currentRowChanged, this, &ToolBarEditor::updateButtons);
    // A dragged row is added before the original goes, so what came of it is known a moment later.
    const auto takeOverLater = [this] {
        if (!m_isFilling)
            QMetaObject::invokeMethod(this, &ToolBarEditor::takeOver, Qt::QueuedConnection);
    };
    connect(list->model(), &QAbstractItemModel::rowsInserted, this, takeOverLater);
    connect(list->model(), &QAbstractItemModel::rowsRemoved, this, takeOverLater);
    return list;
}

QWidget *ToolBarEditor::makeColumn(QListWidget *list, QWidget *head)
{
    auto *holder = new QWidget(this);
    auto *column = new QVBoxLayout(holder);
    column->setContentsMargins(0, 0, 0, 0);
    head->setMinimumHeight(m_search->sizeHint().height());
    column->addWidget(head);
    column->addWidget(list, 1);
    return holder;
}

QWidget *ToolBarEditor::makeButtons()
{
    auto *holder = new QWidget(this);
    auto *column = new QVBoxLayout(holder);
    column->setContentsMargins(0, 0, 0, 0);
    column->addStretch(1);
    m_add = addButton(*holder, QStringLiteral("go-next"), tr("Add to the toolbar"), QStringLiteral("toolbarAdd"),
                      &ToolBarEditor::add);
    m_remove = addButton(*holder, QStringLiteral("go-previous"), tr("Remove from the toolbar"),
                         QStringLiteral("toolbarRemove"), &ToolBarEditor::remove);
    column->addSpacing(14);
    m_up =
        addButton(*holder, QStringLiteral("go-up"), tr("Move up"), QStringLiteral("toolbarUp"), &ToolBarEditor::moveUp);
    m_down = addButton(*holder, QStringLiteral("go-down"), tr("Move down"), QStringLiteral("toolbarDown"),
                       &ToolBarEditor::moveDown);
    column->addStretch(1);
    return holder;
}

QToolButton *ToolBarEditor::addButton(QWidget &holder, const QString &iconName, const QString &text,
                                      const QString &objectName, void (ToolBarEditor::*press)())
{
    QToolButton *button = Widgets::iconButton(iconName, text, objectName, &holder);
    button->setFocusPolicy(Qt::StrongFocus);
    connect(button, &QToolButton::clicked, this, press);
    holder.layout()->addWidget(button);
    return button;
}

void ToolBarEditor::refresh()
{
    const QScopedValueRollback filling(m_isFilling, true);
    const QStringList shown = ToolBarItems::shown(m_settings.toolbarItemsRaw.value());
    QStringList available = ToolBarItems::all();
    available.removeIf(
        [&shown](const QString &name) { return name != ToolBarItems::separatorName && shown.contains(name); });
    fill(*m_available, available);
    fill(*m_shown, shown);
    filterAvailable();
    updateButtons();
}

void ToolBarEditor::fill(QListWidget &list, const QStringList &names)
{
    const QString current = currentName(list);
    const int row = list.currentRow();
    list.clear();
    for (const QString &name : names) {
        auto *item =
            new QListWidgetItem(Theme::icon(ToolBarItems::iconNameOf(name)), ToolBarItems::textOf(name), &list);
        item->setData(nameRole, name);
        item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
    }
    // Until a place is chosen there, what is added comes to the end of the toolbar.
    if (row < 0 && &list == m_shown)
        return;
    // Separators have the same name.
    const qsizetype known = names.value(row) == current ? row : names.indexOf(current);
    list.setCurrentRow(known >= 0 ? int(known) : std::clamp(row, 0, std::max(0, int(names.size()) - 1)));
}

void ToolBarEditor::filterAvailable()
{
    const QString wanted = m_search->text().trimmed();
    int first = -1;
    for (int row = 0; row < m_available->count(); ++row) {
        QListWidgetItem *item = m_available->item(row);
        item->setHidden(!item->text().contains(wanted, Qt::CaseInsensitive));
        if (first < 0 && !item->isHidden())
            first = row;
    }
    if (currentName(*m_available).isEmpty())
        m_available->setCurrentRow(first);
    updateButtons();
}

void ToolBarEditor::updateButtons()
{
    if (!m_down)
        return;
    const int row = m_shown->currentRow();
    m_add->setEnabled(!currentName(*m_available).isEmpty());
    m_remove->setEnabled(row >= 0);
    m_up->setEnabled(row > 0);
    m_down->setEnabled(row >= 0 && row < m_shown->count() - 1);
}

void ToolBarEditor::store(const QStringList &shown)
{
    Setting<QString> &setting = m_settings.toolbarItemsRaw;
    const QString raw = ToolBarItems::replacing(setting.value(), shown);
    if (raw == setting.value())
        refresh();
    else
        setting.set(raw);
}

QStringList ToolBarEditor::shown() const
{
    QStringList names;
    for (int row = 0; row < m_shown->count(); ++row)
        names += m_shown->item(row)->data(nameRole).toString();
    return names;
}

/// After a drop: the lists may hold a row twice, or none of what is available.
void ToolBarEditor::takeOver()
{
    QStringList names;
    for (const QString &name : shown()) {
        if (name == ToolBarItems::separatorName || !names.contains(name))
            names += name;
    }
    store(names);
}

void ToolBarEditor::add()
{
    const QString name = currentName(*m_available);
    if (name.isEmpty())
        return;
    QStringList names = shown();
    const int place = m_shown->currentRow() < 0 ? int(names.size()) : m_shown->currentRow() + 1;
    names.insert(place, name);
    store(names);
    m_shown->setCurrentRow(place);
}

void ToolBarEditor::remove()
{
    QStringList names = shown();
    if (const int row = m_shown->currentRow(); row >= 0) {
        names.removeAt(row);
        store(names);
    }
}

void ToolBarEditor::move(int step)
{
    QStringList names = shown();
    const int row = m_shown->currentRow();
    if (row < 0 || row + step < 0 || row + step >= names.size())
        return;
    names.move(row, row + step);
    store(names);
    m_shown->setCurrentRow(row + step);
}

bool ToolBarEditor::eventFilter(QObject *watched, QEvent *event)
{
    // Rows that were laid out before the style was known are too low for it.
    if (event->type() == QEvent::Show)
        static_cast<QAbstractItemView *>(watched)->doItemsLayout();
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
        return QWidget::eventFilter(watched, event);
    const auto &press = *static_cast<QKeyEvent *>(event);
    const int key = press.key();
    const bool isAlt = press.modifiers() == Qt::AltModifier;
    if (event->type() == QEvent::ShortcutOverride) {
        // The window goes up a folder by it.
        event->setAccepted(watched == m_shown && isAlt && (key == Qt::Key_Up || key == Qt::Key_Down));
        return event->isAccepted();
    }
    if (watched == m_available && (key == Qt::Key_Return || key == Qt::Key_Enter))
        add();
    else if (watched == m_shown && (key == Qt::Key_Delete || key == Qt::Key_Backspace))
        remove();
    else if (watched == m_shown && isAlt && (key == Qt::Key_Up || key == Qt::Key_Down))
        move(key == Qt::Key_Up ? -1 : 1);
    else
        return QWidget::eventFilter(watched, event);
    return true;
}

} // namespace moorix
