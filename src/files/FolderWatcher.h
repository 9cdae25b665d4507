// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

namespace moorix {

/// Tells that a local folder's entries changed, from whichever program: 300 ms after a change, and at most once a
/// second however many follow. Main thread.
class FolderWatcher final : public QObject
{
    Q_OBJECT

public:
    explicit FolderWatcher(QObject *parent = nullptr);

    /// Replaces the folder watched; an empty path watches nothing. A folder that cannot be watched is not reported.
    void watch(const QString &path);

signals:
    void changed();

private:
    void schedule();

    QFileSystemWatcher m_watcher;
    QTimer m_timer;
    QElapsedTimer m_sinceLast;
    QString m_path;
};

} // namespace moorix
