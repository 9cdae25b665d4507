// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PathBar.h"

#include "files/Format.h"
#include "files/PaneModel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/pane/Breadcrumbs.h"
#include "ui/pane/PaneCommand.h"
#include "ui/pane/PathEdit.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QStackedLayout>
#include <QToolButton>

#include <utility>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

/// Drawn each time from the icon, which follows the theme.
class PlaceIcon final : public QWidget
{
public:
    PlaceIcon(QIcon icon, QWidget *parent)
        : QWidget(parent)
        , m_icon(std::move(icon))
    {
        setFixedSize(16, 16);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        m_icon.paint(&painter, rect());
    }

private:
    QIcon m_icon;
};

} // namespace

PathBar::PathBar(PaneModel &pane, QWidget *parent)
    : QFrame(parent)
    , m_pane(pane)
    , m_back(addButton(PaneCommand::goBack, u"backButton"_s))
    , m_forward(addButton(PaneCommand::goForward, u"forwardButton"_s))
    , m_up(addButton(PaneCommand::goUp, u"upButton"_s))
    , m_reload(addButton(PaneCommand::reload, u"reloadButton"_s))
    , m_crumbs(new Breadcrumbs)
    , m_edit(new PathEdit(pane))
{
    setProperty("role", u"bar"_s);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(4);
    for (QToolButton *button : {m_back, m_forward, m_up})
        row->addWidget(button);
    row->addSpacing(4);
    row->addWidget(makeField(), 1);
    row->addSpacing(2);
    row->addWidget(m_reload);

    connect(m_crumbs, &Breadcrumbs::blankClicked, this, &PathBar::edit);
    connect(m_crumbs, &Breadcrumbs::componentClicked, this, &PathBar::pathEntered);
    connect(m_edit, &PathEdit::accepted, this, [this](const QString &path) {
        m_isGoing = true;
        emit pathEntered(path);
    });
    connect(&pane, &PaneModel::isLoadingChanged, this, [this] {
        // A path that cannot be shown stays in the line, to be corrected.
        if (!m_pane.isLoading() && std::exchange(m_isGoing, false) && !m_pane.errorMessage())
            endEditing();
    });
    connect(m_edit, &PathEdit::cancelled, this, &PathBar::endEditing);
    connect(&pane, &PaneModel::currentPathChanged, this, &PathBar::showPath);
    connect(&pane, &PaneModel::historyChanged, this, &PathBar::showHistory);
    showPath();
    showHistory();
}

void PathBar::takeDrops(FileDrop &drop)
{
    m_crumbs->takeDrops(drop);
}

QToolButton *PathBar::addButton(PaneCommand command, const QString &objectName)
{
    const PaneCommandInfo &info = infoOf(command);
    auto *button = new QToolButton(this);
    button->setObjectName(objectName);
    button->setIcon(Theme::icon(info.iconName));
    button->setToolTip(u"%1 (%2)"_s.arg(info.text, info.keys.front().toString(QKeySequence::NativeText)));
    button->setAccessibleName(info.text);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    connect(button, &QToolButton::clicked, this, [this, command] { emit commandRequested(command); });
    return button;
}

QWidget *PathBar::makeField()
{
    auto *field = new QFrame(this);
    m_field = field;
    field->setObjectName(u"pathField"_s);
    auto *icon = new PlaceIcon(Theme::icon(m_pane.isLocal() ? u"drive-harddisk"_s : u"network-server"_s), field);
    icon->setObjectName(u"pathIcon"_s);
    icon->setToolTip(m_pane.title());
    auto *place = new QWidget(field);
    m_stack = new QStackedLayout(place);
    m_stack->addWidget(m_crumbs);
    m_stack->addWidget(m_edit);
    auto *row = new QHBoxLayout(field);
    row->setContentsMargins(9, 2, 4, 2);
    row->setSpacing(6);
    row->addWidget(icon);
    row->addWidget(place, 1);
    return field;
}

void PathBar::edit()
{
    m_edit->setText(m_pane.currentPath());
    setEditing(true);
    m_edit->setFocus(Qt::ShortcutFocusReason);
    m_edit->selectAll();
}

void PathBar::endEditing()
{
    const bool wasTyping = m_edit->hasFocus();
    setEditing(false);
    if (wasTyping)
        emit left();
}

void PathBar::setEditing(bool isEditing)
{
    m_stack->setCurrentWidget(isEditing ? static_cast<QWidget *>(m_edit) : m_crumbs);
    Widgets::setStyleProperty(*m_field, "editing", isEditing);
}

void PathBar::showPath()
{
    QList<PathComponent> components = m_pane.pathComponents();
    if (!components.isEmpty() && !m_pane.isLocal())
        components.front().name = m_pane.title();
    m_crumbs->setComponents(components);
    m_up->setEnabled(m_pane.canGoUp());
    endEditing();
}

void PathBar::showHistory()
{
    m_back->setEnabled(m_pane.canGoBack());
    m_forward->setEnabled(m_pane.canGoForward());
}

} // namespace moorix
