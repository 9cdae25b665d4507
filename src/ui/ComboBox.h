// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QComboBox>
#include <QFontComboBox>

namespace moorix {

/// A combo box that shows by an arrow in the text's colour that it opens.
class ComboBox final : public QComboBox
{
    Q_OBJECT

public:
    using QComboBox::QComboBox;

protected:
    void paintEvent(QPaintEvent *event) override;
};

/// The same for fonts.
class FontComboBox final : public QFontComboBox
{
    Q_OBJECT

public:
    using QFontComboBox::QFontComboBox;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace moorix
