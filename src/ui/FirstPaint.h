// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace moorix {

/// Tells when the window has been painted for the first time, and notes it in the log category "moorix.startup" where
/// that is asked for: QT_LOGGING_RULES="moorix.startup=true".
class FirstPaint final : public QObject
{
    Q_OBJECT

public:
    /// Owned by `window`, and gone after the signal.
    explicit FirstPaint(QWidget &window);

signals:
    void painted();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace moorix
