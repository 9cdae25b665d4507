// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffSwitches.h"

#include "ui/Widgets.h"

#include <QActionGroup>
#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>

namespace moorix {

DiffSwitches::DiffSwitches(QWidget *parent)
    : QWidget(parent)
    , m_fold(Widgets::iconButton(QStringLiteral("view-filter"), tr("Fold long stretches of equal lines"),
                                 QStringLiteral("diffFold"), this))
    , m_wrap(Widgets::iconButton(QStringLiteral("text-wrap"), tr("Wrap long lines (Alt+Z)"), QStringLiteral("diffWrap"),
                                 this))
    , m_ignore(new QToolButton(this))
{
    m_fold->setCheckable(true);
    m_fold->setChecked(true);
    m_wrap->setCheckable(true);
    m_wrap->setShortcut(Qt::ALT | Qt::Key_Z);
    m_ignore->setObjectName(QStringLiteral("diffIgnore"));
    m_ignore->setText(tr("Ignore…"));
    m_ignore->setToolTip(tr("What makes no difference between lines"));
    m_ignore->setPopupMode(QToolButton::InstantPopup);
    fillMenu();
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    for (QToolButton *button : {m_fold, m_wrap, m_ignore})
        row->addWidget(button);
    connect(m_fold, &QToolButton::toggled, this, &DiffSwitches::foldingChosen);
    connect(m_wrap, &QToolButton::toggled, this, &DiffSwitches::wrappingChosen);
}

void DiffSwitches::fillMenu()
{
    using Space = DiffOptions::Space;
    auto *menu = new QMenu(this);
    auto *spaces = new QActionGroup(menu);
    const std::pair<Space, QString> choices[] = {
        {Space::compared, tr("Compare white space")},
        {Space::ignoredAtEnds, tr("Ignore white space at line ends")},
        {Space::amountIgnored, tr("Ignore the amount of white space")},
        {Space::ignored, tr("Ignore all white space")},
    };
    for (const auto &[space, text] : choices) {
        QAction *action = spaces->addAction(text);
        action->setCheckable(true);
        action->setChecked(space == Space::compared);
        menu->addAction(action);
        connect(action, &QAction::triggered, this, [this, space = space] { choose({space, m_options.ignoresCase}); });
    }
    menu->addSeparator();
    QAction *letters = menu->addAction(tr("Ignore case"));
    letters->setCheckable(true);
    connect(letters, &QAction::toggled, this, [this](bool ignores) { choose({m_options.space, ignores}); });
    m_ignore->setMenu(menu);
}

void DiffSwitches::choose(const DiffOptions &options)
{
    if (options == m_options)
        return;
    m_options = options;
    // A look tells that something is left out.
    m_ignore->setText(options.isExact() ? tr("Ignore…") : tr("Ignoring…"));
    Widgets::setStyleProperty(*m_ignore, "tone", options.isExact() ? QString() : QStringLiteral("warning"));
    emit optionsChosen(options);
}

void DiffSwitches::setCanFold(bool canFold)
{
    m_fold->setVisible(canFold);
}

} // namespace moorix
