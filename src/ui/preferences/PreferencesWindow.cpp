// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/PreferencesWindow.h"

#include "app/AppModel.h"
#include "settings/SettingsStore.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/preferences/PreferenceControl.h"
#include "ui/preferences/PreferenceTable.h"
#include "ui/toolbar/ToolBarEditor.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QScrollArea>
#include <QStackedWidget>

namespace moorix {

namespace {

/// Behind the appearance.
constexpr int toolBarPage = 2;

} // namespace

PreferencesWindow::PreferencesWindow(AppModel &model, QWidget *parent)
    : QDialog(parent)
    , m_list(new QListWidget(this))
    , m_stack(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("preferencesWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Preferences"));
    resize(800, 560);
    m_list->setObjectName(QStringLiteral("preferencePages"));
    m_list->setAccessibleName(tr("Pages"));
    m_list->setFixedWidth(220);
    m_list->setIconSize({16, 16});
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setFrameShape(QFrame::NoFrame);
    for (const PreferencePage &page : preferencePages(model)) {
        new QListWidgetItem(Theme::icon(page.iconName), page.title, m_list);
        m_stack->addWidget(makePage(page));
    }
    auto *toolBar = new QListWidgetItem(Theme::icon(QStringLiteral("view-list-icons")), tr("Toolbar"));
    m_list->insertItem(toolBarPage, toolBar);
    m_stack->insertWidget(toolBarPage, new ToolBarEditor(model.settings(), this));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(m_list);
    row->addWidget(m_stack, 1);
    connect(m_list, &QListWidget::currentRowChanged, m_stack, &QStackedWidget::setCurrentIndex);
    connect(&model.settings(), &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (PreferenceControl *control = m_controls.value(key))
            control->refresh();
    });
    m_list->setCurrentRow(0);
    m_list->setFocus();
}

void PreferencesWindow::showToolBarPage()
{
    m_list->setCurrentRow(toolBarPage);
}

QWidget *PreferencesWindow::makePage(const PreferencePage &page)
{
    auto *body = new QWidget(this);
    body->setProperty("role", QStringLiteral("pageBody"));
    auto *grid = new QGridLayout(body);
    grid->setContentsMargins(28, 22, 28, 22);
    grid->setHorizontalSpacing(20);
    grid->setVerticalSpacing(4);
    grid->setColumnStretch(1, 1);
    int line = 0;
    grid->addWidget(Widgets::label(page.title, Widgets::TextRole::headline, body), line++, 0, 1, 2);
    if (!page.note.isEmpty())
        grid->addWidget(Widgets::label(page.note, Widgets::TextRole::muted, body), line++, 0, 1, 2);
    grid->setRowMinimumHeight(line++, 8);
    for (const PreferenceRow &row : page.rows) {
        auto *control = new PreferenceControl(row, body);
        auto *label = new QLabel(row.label, body);
        m_controls.insert(row.key, control);
        grid->addWidget(label, line, 0, Qt::AlignLeft | Qt::AlignVCenter);
        grid->addWidget(control, line++, 1);
        if (!row.help.isEmpty())
            grid->addWidget(Widgets::label(row.help, Widgets::TextRole::muted, body), line++, 1);
        grid->setRowMinimumHeight(line++, 6);
    }
    if (page.makePanel) {
        grid->setRowMinimumHeight(line++, 10);
        grid->addWidget(page.makePanel(body), line++, 0, 1, 2);
    }
    grid->setRowStretch(line, 1);
    auto *scroll = new QScrollArea(this);
    scroll->setProperty("role", QStringLiteral("page"));
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(body);
    return scroll;
}

} // namespace moorix
