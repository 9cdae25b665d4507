// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Comparison.h"
#include "compare/DiffSide.h"

#include <QFrame>

#include <array>

class QHBoxLayout;
class QLabel;
class QLineEdit;
class QToolButton;

namespace moorix {

class DiffSideCard;
class DiffSwitches;
struct DiffChoices;
struct DiffContent;

/// Which files are compared, how much differs, and ways to what differs.
class DiffHeader final : public QFrame
{
    Q_OBJECT

public:
    DiffHeader(const Comparison &comparison, const DiffChoices &choices, QWidget *parent = nullptr);

    static QString title(const Comparison &comparison);
    /// What was read; null while nothing is to be seen.
    void setContent(const DiffContent *content);
    /// Whether a side has changes that are not saved, and whether there are steps to undo and to do again.
    void showEdits(bool isLeftChanged, bool isRightChanged, bool canUndo, bool canRedo);
    void showSaving(DiffSide side, bool isSaving);
    /// Which of so many changes the keyboard is at, counted from 1; 0 between them.
    void showPlace(qsizetype change, qsizetype count);
    void focusSearch();
    QString needle() const;
    DiffSwitches &switches() const { return *m_switches; }
    /// Whether the text that was looked for is anywhere.
    void showFound(bool isFound);

signals:
    void backRequested();
    void changeRequested(int step);
    void undoRequested();
    void redoRequested();
    void saveRequested(moorix::DiffSide side);
    void searched(const QString &text);
    /// The next or previous line with the text.
    void hitRequested(bool isNext);
    /// The search field gives the keyboard back.
    void contentFocusRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void addTools(QHBoxLayout &row);
    DiffSideCard &card(DiffSide side) const { return *m_cards[side == DiffSide::left ? 0 : 1]; }

    Comparison m_comparison;
    QLabel *m_added;
    QLabel *m_removed;
    QLabel *m_place;
    QToolButton *m_previous;
    QToolButton *m_next;
    QToolButton *m_undo;
    QToolButton *m_redo;
    DiffSwitches *m_switches;
    QLineEdit *m_search;
    std::array<DiffSideCard *, 2> m_cards{};
};

} // namespace moorix
