// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace moorix {

/// Notes in the log category "moorix.startup" when the window has been painted for the first time. Off unless asked
/// for: QT_LOGGING_RULES="moorix.startup=true".
class FirstPaint final : public QObject
{
    Q_OBJECT

public:
    /// Owned by `window`, and gone after the note.
    explicit FirstPaint(QWidget &window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace moorix
