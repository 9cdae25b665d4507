// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLoader.h"
#include "compare/DiffSearch.h"

#include <QAbstractScrollArea>

#include <memory>
#include <optional>

namespace moorix {

/// Two compared texts side by side. Only the rows in sight are painted, so any number of lines is shown at once. Up,
/// Down and their like move through the rows, Tab goes to the other text, Left and Right scroll both, Return opens a
/// fold, Ctrl+C copies the selected lines of the text that was clicked last.
class DiffView final : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit DiffView(QWidget *parent = nullptr);

    /// Shows the first change of a comparison, or the line that was current where it is shown anew.
    void setContent(std::shared_ptr<const DiffContent> content);
    void setFolded(bool isFolded);
    /// Goes to the next (1) or previous (-1) change; false where there is none.
    bool stepChange(int step);
    /// Marks a text wherever it is.
    void setNeedle(const QString &text);
    /// Goes to the next or previous line with it; false where there is none.
    bool stepHit(DiffSearch::Step step);
    qsizetype changeCount() const { return qsizetype(m_changes.size()); }
    /// The change at the current row, counted from 1; 0 between changes.
    qsizetype currentChange() const;
    /// The selected lines of one text.
    QString selectedText() const;
    void copy() const;

    /// Of the row that the keyboard is at; nothing while nothing is shown.
    std::optional<DiffLayout::Row> currentRow() const;

signals:
    void currentChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    enum class Extend { no, yes };

    int rowHeight() const;
    qsizetype rowAt(int y) const;
    DiffSide sideAt(int x) const;
    void setCurrent(qsizetype row, Extend extend);
    void ensureVisible(qsizetype row, bool isInMiddle);
    void relayout();
    void unfold(qsizetype row);
    void arrange();
    DiffPlace place() const;
    void selectAll();
    bool moveByKey(const QKeyEvent &event);

    std::shared_ptr<const DiffContent> m_content;
    DiffLayout m_layout;
    std::vector<qsizetype> m_changes;
    QString m_needle;
    DiffSide m_side = DiffSide::left;
    qsizetype m_current = 0;
    qsizetype m_anchor = 0;
};

} // namespace moorix
