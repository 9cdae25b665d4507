// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLayout>

#include <memory>
#include <vector>

namespace moorix {

/// Widgets one behind another, in as many lines as there is need for.
class FlowLayout final : public QLayout
{
    Q_OBJECT

public:
    /// Lines begin at the left, or end at the right.
    enum class Edge { left, right };

    explicit FlowLayout(int spacing, QWidget *parent = nullptr);
    FlowLayout(int spacing, Edge edge);
    ~FlowLayout() override;

    void addItem(QLayoutItem *item) override { m_items.emplace_back(item); }
    int count() const override { return int(m_items.size()); }
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return arrange({0, 0, width, 0}, false); }
    QSize minimumSize() const override;
    QSize sizeHint() const override;
    void setGeometry(const QRect &rect) override;

private:
    /// Returns the height.
    int arrange(const QRect &rect, bool moves) const;

    Edge m_edge = Edge::left;
    std::vector<std::unique_ptr<QLayoutItem>> m_items;
};

} // namespace moorix
