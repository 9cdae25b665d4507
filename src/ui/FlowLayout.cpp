// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/FlowLayout.h"

#include <algorithm>
#include <utility>

namespace moorix {

FlowLayout::FlowLayout(int spacing, QWidget *parent)
    : QLayout(parent)
{
    setContentsMargins(0, 0, 0, 0);
    setSpacing(spacing);
}

FlowLayout::FlowLayout(int spacing, Edge edge)
    : FlowLayout(spacing)
{
    m_edge = edge;
}

FlowLayout::~FlowLayout() = default;

QLayoutItem *FlowLayout::itemAt(int index) const
{
    return index >= 0 && index < count() ? m_items.at(std::size_t(index)).get() : nullptr;
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    if (!itemAt(index))
        return nullptr;
    QLayoutItem *taken = m_items.at(std::size_t(index)).release();
    m_items.erase(m_items.begin() + index);
    return taken;
}

QSize FlowLayout::minimumSize() const
{
    QSize size;
    for (const auto &item : m_items)
        size = size.expandedTo(item->minimumSize());
    return size;
}

QSize FlowLayout::sizeHint() const
{
    QSize size;
    for (const auto &item : m_items) {
        const QSize hint = item->sizeHint();
        size = {size.width() + hint.width() + spacing(), std::max(size.height(), hint.height())};
    }
    return size;
}

void FlowLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int FlowLayout::arrange(const QRect &rect, bool moves) const
{
    int y = rect.top();
    int lineHeight = 0;
    int lineWidth = 0;
    std::vector<std::pair<QLayoutItem *, QSize>> line;
    const auto endLine = [&] {
        int x = m_edge == Edge::left ? rect.left() : rect.right() + 1 - lineWidth;
        for (const auto &[item, size] : std::exchange(line, {})) {
            if (moves)
                item->setGeometry({QPoint(x, y), size});
            x += size.width() + spacing();
        }
    };
    for (const auto &item : m_items) {
        if (item->isEmpty())
            continue;
        const QSize size = item->sizeHint().boundedTo({std::max(rect.width(), 1), 1000});
        if (!line.empty() && lineWidth + spacing() + size.width() > rect.width()) {
            endLine();
            y += std::exchange(lineHeight, 0) + spacing();
            lineWidth = 0;
        }
        lineWidth += size.width() + (line.empty() ? 0 : spacing());
        lineHeight = std::max(lineHeight, size.height());
        line.emplace_back(item.get(), size);
    }
    endLine();
    return y + lineHeight - rect.top();
}

} // namespace moorix
