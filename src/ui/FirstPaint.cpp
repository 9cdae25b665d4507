// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/FirstPaint.h"

#include <QEvent>
#include <QLoggingCategory>
#include <QTimer>
#include <QWidget>

namespace moorix {

namespace {
Q_LOGGING_CATEGORY(startup, "moorix.startup", QtWarningMsg)
} // namespace

FirstPaint::FirstPaint(QWidget &window)
    : QObject(&window)
{
    window.installEventFilter(this);
}

bool FirstPaint::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        // The children paint within the same pass; the next turn of the loop is after it.
        QTimer::singleShot(0, this, [this] {
            qCInfo(startup, "painted");
            emit painted();
            deleteLater();
        });
    }
    return QObject::eventFilter(watched, event);
}

} // namespace moorix
