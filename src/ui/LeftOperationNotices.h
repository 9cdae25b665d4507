// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QStringList>

namespace moorix {

class LeftOperations;
class MessageBar;

/// Keeps in sight what could not be done in the background after a tab was closed, until the user has closed the bar.
/// Main thread.
class LeftOperationNotices final : public QObject
{
    Q_OBJECT

public:
    LeftOperationNotices(const LeftOperations &operations, MessageBar &bar);

signals:
    /// As DesktopNotifier takes it, while none of the program's windows has the keyboard.
    void raised(const QString &topic, const QString &title, const QString &text);

private:
    void tell(const QString &description, const QStringList &failures);

    MessageBar &m_bar;
    /// What the bar shows, a line each.
    QStringList m_lines;
};

} // namespace moorix
