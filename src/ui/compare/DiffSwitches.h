// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/compare/DiffChoices.h"

#include <QWidget>

class QAction;
class QToolButton;

namespace moorix {

/// How two files are compared and shown.
class DiffSwitches final : public QWidget
{
    Q_OBJECT

public:
    explicit DiffSwitches(const DiffChoices &choices, QWidget *parent = nullptr);

    const DiffChoices &choices() const { return m_choices; }

    /// Folds mean something only where lines differ.
    void setCanFold(bool canFold);

signals:
    void foldingChosen(bool isFolded);
    void wrappingChosen(bool isWrapped);
    void optionsChosen(const moorix::DiffOptions &options);

private:
    void fillMenu();
    void choose(const DiffOptions &options);
    void showOptions();

    QToolButton *m_fold;
    QToolButton *m_wrap;
    QToolButton *m_ignore;
    DiffChoices m_choices;
};

} // namespace moorix
