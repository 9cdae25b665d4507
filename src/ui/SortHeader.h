// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHeaderView>

namespace moorix {

/// The head of a list whose sign for the order stands beside the text of its column and takes no room from it.
class SortHeader : public QHeaderView
{
    Q_OBJECT

public:
    /// `padding`: between the edges of a column and its text, as in the cells.
    explicit SortHeader(int padding, QWidget *parent = nullptr);

protected:
    void paintSection(QPainter *painter, const QRect &rect, int column) const override;

private:
    int m_padding;
};

} // namespace moorix
