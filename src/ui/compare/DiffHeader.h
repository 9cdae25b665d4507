// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/Comparison.h"

#include <QFrame>

#include <array>

class QHBoxLayout;
class QLabel;
class QLineEdit;
class QToolButton;

namespace moorix {

class ElidedLabel;
struct DiffContent;

/// Which files are compared, how much differs, and ways to what differs.
class DiffHeader final : public QFrame
{
    Q_OBJECT

public:
    explicit DiffHeader(const Comparison &comparison, QWidget *parent = nullptr);

    static QString title(const Comparison &comparison);
    /// What was read; null while nothing is to be seen.
    void setContent(const DiffContent *content);
    /// Which of so many changes the keyboard is at, counted from 1; 0 between them.
    void showPlace(qsizetype change, qsizetype count);
    void focusSearch();
    QString needle() const;
    /// Whether the text that was looked for is anywhere.
    void showFound(bool isFound);

signals:
    void backRequested();
    void changeRequested(int step);
    void foldingChosen(bool isFolded);
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
    /// Returns the label of what is known of the file.
    ElidedLabel *addEnd(QHBoxLayout &row, const QString &place, const FileItem &file, const QString &objectName);

    Comparison m_comparison;
    QLabel *m_added;
    QLabel *m_removed;
    QLabel *m_place;
    QToolButton *m_previous;
    QToolButton *m_next;
    QToolButton *m_fold;
    QLineEdit *m_search;
    std::array<ElidedLabel *, 2> m_facts{};
};

} // namespace moorix
