// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

namespace moorix {

/// Draws how a transfer stands: a thin bar, where there is one, and the text behind it. A date is shown as the moment
/// when the transfer ended.
class TransferRowDelegate final : public QStyledItemDelegate
{
public:
    /// How far it is, of 1000; negative while that is not known. Without it there is no bar.
    static constexpr int permilleRole = Qt::UserRole + 8;
    /// Nothing moves at the moment.
    static constexpr int isHaltedRole = Qt::UserRole + 9;

    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant &value, const QLocale &locale) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

} // namespace moorix
