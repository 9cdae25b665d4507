// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCheckBox>

namespace moorix {

/// A check box whose box is visible on every ground of the theme, checked or not.
class CheckBox final : public QCheckBox
{
    Q_OBJECT

public:
    using QCheckBox::QCheckBox;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace moorix
