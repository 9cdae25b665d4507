// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffHeights.h"
#include "compare/DiffLoader.h"
#include "compare/DiffSearch.h"

#include <QAbstractScrollArea>

#include <memory>
#include <optional>

namespace moorix {

class DiffOverview;
class DiffPainter;

/// Two compared texts side by side. Only the rows in sight are painted, so any number of lines is shown at once. Up,
/// Down and their like move through the rows, Tab goes to the other text, Left and Right scroll both, Return opens a
/// fold, Ctrl+C copies the selected lines of the text that was clicked last. Between both, each change has buttons that
/// ask for its lines to be taken over to the other side.
class DiffView final : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit DiffView(QWidget *parent = nullptr);

    /// Shows the first change of a comparison, or the line that was current where it is shown anew; `steady` is a side
    /// whose lines are where they were.
    void setContent(std::shared_ptr<const DiffContent> content, DiffSide steady);
    void setFolded(bool isFolded);
    /// Whether lines that are too long are broken; both sides of a row stay beside each other.
    void setWrapped(bool isWrapped);
    /// Goes to the next (1) or previous (-1) change; false where there is none.
    bool stepChange(int step);
    /// Marks a text wherever it is.
    void setNeedle(const QString &text);
    /// Goes to the next or previous line with it; false where there is none.
    bool stepHit(DiffSearch::Step step);
    qsizetype changeCount() const { return qsizetype(m_changes.size()); }
    /// The change at the current row, counted from 1; 0 between changes.
    qsizetype currentChange() const;
    std::optional<DiffLayout::Hunk> currentHunk() const;
    /// Where in the window a change that is in sight has the button that copies lines to a side.
    QRect copyButton(qsizetype row, DiffSide to) const;
    /// The selected lines of one text.
    QString selectedText() const;
    void copy() const;

    /// Of the row that the keyboard is at; nothing while nothing is shown.
    std::optional<DiffLayout::Row> currentRow() const;

signals:
    void currentChanged();
    void copyRequested(const moorix::DiffLayout::Hunk &hunk, moorix::DiffSide to);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    enum class Extend { no, yes };
    /// A button between both sides.
    struct Button
    {
        qsizetype row = 0;
        DiffSide to = DiffSide::left;

        bool operator==(const Button &) const = default;
    };

    int rowHeight() const;
    qsizetype rowAt(int y) const;
    DiffSide sideAt(int x) const;
    void setCurrent(qsizetype row, Extend extend);
    void ensureVisible(qsizetype row, bool isInMiddle);
    void relayout();
    void unfold(qsizetype row);
    void arrange();
    DiffPainter rowPainter(int scrolled = 0) const;
    void measure();
    void followOverview();
    QRect rowRect(qsizetype row) const;
    bool startsHunk(qsizetype row) const;
    std::optional<Button> buttonAt(const QPoint &position) const;
    void hover(const std::optional<Button> &button);
    DiffPlace place() const;
    /// The line of a side at the current row, or the next one that there is.
    DiffPlace place(DiffSide side) const;
    void selectAll();
    bool moveByKey(const QKeyEvent &event);

    std::shared_ptr<const DiffContent> m_content;
    DiffLayout m_layout;
    std::vector<qsizetype> m_changes;
    LineWrap m_wrap;
    DiffHeights m_heights;
    DiffOverview *m_overview;
    bool m_isWrapped = false;
    bool m_isFolded = true;
    std::optional<Button> m_hovered;
    QString m_needle;
    DiffSide m_side = DiffSide::left;
    qsizetype m_current = 0;
    qsizetype m_anchor = 0;
};

} // namespace moorix
