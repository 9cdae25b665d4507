// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/exchange/ImportTree.h"

#include "files/Format.h"
#include "ui/RoomyDelegate.h"
#include "ui/Theme.h"

#include <QHeaderView>
#include <QSignalBlocker>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

using Change = ImportRow::Change;
using What = ImportRow::What;

constexpr int keyRole = Qt::UserRole;
constexpr int lineHeight = 24;
/// Groups of more rows are closed at first when nothing is to be decided in them.
constexpr qsizetype mostShownAtOnce = 8;

struct GroupLook
{
    Change change;
    QString title;
    Theme::Color color;
};

QList<GroupLook> groups(ImportChoice::Mode mode)
{
    const bool merges = mode == ImportChoice::Mode::merge;
    return {{Change::removed, ImportTree::tr("Will be removed"), Theme::Color::danger},
            {Change::differs,
             merges ? ImportTree::tr("Different here: checked ones are replaced") : ImportTree::tr("Will be replaced"),
             Theme::Color::warning},
            {Change::added, ImportTree::tr("New"), Theme::Color::success},
            {Change::known, ImportTree::tr("Here under another identity: checked ones are added once more"),
             Theme::Color::mutedText},
            {Change::same, ImportTree::tr("The same"), Theme::Color::mutedText}};
}

QString iconName(What what)
{
    switch (what) {
    case What::folder:
        return u"folder"_s;
    case What::server:
        return u"network-server"_s;
    case What::backup:
        return u"backup"_s;
    case What::syncPair:
        return u"folder-sync"_s;
    case What::setting:
        return u"configure"_s;
    }
    return {};
}

QString noun(What what)
{
    switch (what) {
    case What::folder:
        return ImportTree::tr("Folder");
    case What::server:
        return ImportTree::tr("Server");
    case What::backup:
        return ImportTree::tr("Backup");
    case What::syncPair:
        return ImportTree::tr("Folder pair");
    case What::setting:
        return ImportTree::tr("Setting");
    }
    return {};
}

Qt::CheckState stateOf(qsizetype checked, qsizetype all)
{
    return checked == 0 ? Qt::Unchecked : checked == all ? Qt::Checked : Qt::PartiallyChecked;
}

qsizetype checkedIn(const QTreeWidgetItem &group)
{
    qsizetype checked = 0;
    for (int i = 0; i < group.childCount(); ++i)
        checked += group.child(i)->checkState(0) == Qt::Checked ? 1 : 0;
    return checked;
}

} // namespace

ImportTree::ImportTree(QWidget *parent)
    : QTreeWidget(parent)
{
    setObjectName(u"importTree"_s);
    setColumnCount(3);
    setHeaderLabels({tr("Name"), tr("Kind"), tr("Details")});
    setUniformRowHeights(true);
    setItemDelegate(new RoomyDelegate(this));
    setSelectionMode(SingleSelection);
    setAllColumnsShowFocus(true);
    header()->setStretchLastSection(true);
    header()->setSectionsMovable(false);
    header()->resizeSection(0, 300);
    header()->resizeSection(1, 96);
    connect(this, &QTreeWidget::itemChanged, this, &ImportTree::followCheck);
}

void ImportTree::show(const QList<ImportRow> &rows, const ImportChoice &choice)
{
    const QSignalBlocker blocker(this);
    m_choice = choice;
    clear();
    for (const GroupLook &look : groups(choice.mode)) {
        QList<ImportRow> ofGroup;
        for (const ImportRow &row : rows) {
            if (row.change == look.change)
                ofGroup += row;
        }
        if (ofGroup.isEmpty())
            continue;
        QTreeWidgetItem *group = addGroup(ofGroup);
        group->setText(0, u"%1  ·  %2"_s.arg(look.title).arg(ofGroup.size()));
        group->setForeground(0, Theme::color(look.color));
        const bool isOpen =
            ofGroup.constFirst().isChoice() || look.change == Change::removed || ofGroup.size() <= mostShownAtOnce;
        group->setExpanded(isOpen);
    }
}

QTreeWidgetItem *ImportTree::addGroup(const QList<ImportRow> &rows)
{
    auto *group = new QTreeWidgetItem(this);
    group->setSizeHint(0, QSize(0, lineHeight));
    QFont font = group->font(0);
    font.setBold(true);
    group->setFont(0, font);
    group->setFirstColumnSpanned(true);
    for (const ImportRow &row : rows)
        addRow(*group, row);
    if (rows.constFirst().isChoice() && m_choice.mode == ImportChoice::Mode::merge)
        group->setCheckState(0, stateOf(checkedIn(*group), rows.size()));
    return group;
}

void ImportTree::addRow(QTreeWidgetItem &group, const ImportRow &row)
{
    auto *item = new QTreeWidgetItem(&group);
    item->setSizeHint(0, QSize(0, lineHeight));
    const QString name =
        Format::display(row.what == What::setting ? m_settingLabels.value(row.name, row.name) : row.name);
    item->setText(0, name);
    item->setIcon(0, Theme::icon(iconName(row.what)));
    item->setToolTip(0, name.toHtmlEscaped());
    item->setText(1, noun(row.what));
    item->setForeground(1, Theme::color(Theme::Color::mutedText));
    const QString details = row.details.join(row.change == Change::differs ? u"; "_s : u" "_s);
    item->setText(2, Format::display(details.isEmpty() ? row.place : details));
    item->setToolTip(2, QStringList(row.details + QStringList{row.place}).join(u'\n').trimmed().toHtmlEscaped());
    item->setData(0, keyRole, row.key);
    if (row.isChoice() && m_choice.mode == ImportChoice::Mode::merge)
        item->setCheckState(0, m_choice.taken.contains(row.key) ? Qt::Checked : Qt::Unchecked);
}

void ImportTree::followCheck(QTreeWidgetItem *item, int column)
{
    if (column != 0)
        return;
    {
        const QSignalBlocker blocker(this);
        takeCheck(*item);
    }
    viewport()->update();
    emit choiceChanged();
}

void ImportTree::takeCheck(QTreeWidgetItem &item)
{
    if (!item.parent()) {
        checkGroup(item);
        return;
    }
    const QString key = item.data(0, keyRole).toString();
    if (item.checkState(0) == Qt::Checked)
        m_choice.taken.insert(key);
    else
        m_choice.taken.remove(key);
    item.parent()->setCheckState(0, stateOf(checkedIn(*item.parent()), item.parent()->childCount()));
}

void ImportTree::checkGroup(QTreeWidgetItem &group)
{
    const Qt::CheckState state = group.checkState(0);
    for (int i = 0; i < group.childCount(); ++i) {
        QTreeWidgetItem *item = group.child(i);
        item->setCheckState(0, state);
        const QString key = item->data(0, keyRole).toString();
        if (state == Qt::Checked)
            m_choice.taken.insert(key);
        else
            m_choice.taken.remove(key);
    }
}

} // namespace moorix
