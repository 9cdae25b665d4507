// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffSwitches.h"

#include "ui/Widgets.h"

#include <QActionGroup>
#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>

namespace moorix {

DiffSwitches::DiffSwitches(const DiffChoices &choices, QWidget *parent)
    : QWidget(parent)
    , m_fold(Widgets::iconButton(QStringLiteral("view-filter"), tr("Fold long stretches of equal lines"),
                                 QStringLiteral("diffFold"), this))
    , m_wrap(Widgets::iconButton(QStringLiteral("text-wrap"), tr("Wrap long lines (Alt+Z)"), QStringLiteral("diffWrap"),
                                 this))
    , m_ignore(new QToolButton(this))
    , m_choices(choices)
{
    m_fold->setCheckable(true);
    m_fold->setChecked(true);
    m_wrap->setCheckable(true);
    m_wrap->setChecked(choices.isWrapped);
    m_wrap->setShortcut(Qt::ALT | Qt::Key_Z);
    m_ignore->setObjectName(QStringLiteral("diffIgnore"));
    m_ignore->setToolTip(tr("What makes no difference between lines"));
    m_ignore->setPopupMode(QToolButton::InstantPopup);
    fillMenu();
    showOptions();
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    for (QToolButton *button : {m_fold, m_wrap, m_ignore})
        row->addWidget(button);
    connect(m_fold, &QToolButton::toggled, this, &DiffSwitches::foldingChosen);
    connect(m_wrap, &QToolButton::toggled, this, [this](bool isWrapped) {
        m_choices.isWrapped = isWrapped;
        emit wrappingChosen(isWrapped);
    });
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
        action->setChecked(space == m_choices.options.space);
        menu->addAction(action);
        connect(action, &QAction::triggered, this, [this, space = space] {
            choose({space, m_choices.options.ignoresCase});
        });
    }
    menu->addSeparator();
    QAction *letters = menu->addAction(tr("Ignore case"));
    letters->setCheckable(true);
    letters->setChecked(m_choices.options.ignoresCase);
    connect(letters, &QAction::toggled, this, [this](bool ignores) { choose({m_choices.options.space, ignores}); });
    m_ignore->setMenu(menu);
}

void DiffSwitches::choose(const DiffOptions &options)
{
    if (options == m_choices.options)
        return;
    m_choices.options = options;
    showOptions();
    emit optionsChosen(options);
}

/// A look tells that something is left out.
void DiffSwitches::showOptions()
{
    const bool isExact = m_choices.options.isExact();
    m_ignore->setText(isExact ? tr("Ignore…") : tr("Ignoring…"));
    Widgets::setStyleProperty(*m_ignore, "tone", isExact ? QString() : QStringLiteral("warning"));
}

void DiffSwitches::setCanFold(bool canFold)
{
    m_fold->setVisible(canFold);
}

} // namespace moorix
