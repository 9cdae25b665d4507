// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

namespace moorix {

class MessageBar;
class PaneModel;
class PaneNotice;

/// Says what there is instead of rows: a wait, an empty folder, a filter nothing matches, a failure. A failure beside
/// rows goes into the banner above them. Main thread.
class PaneNotices final : public QObject
{
    Q_OBJECT

public:
    PaneNotices(PaneModel &pane, QWidget &list, MessageBar &banner);

private:
    void followLoading();
    void show();
    void showBanner();
    void showInstead();
    void showEmptyFolder();
    void retry();

    PaneModel &m_pane;
    MessageBar &m_banner;
    PaneNotice *m_notice;
    /// Waits that end at once are not shown.
    QTimer m_patience;
    /// What was asked for last, to be tried again when it failed.
    QString m_lastPath;
    bool m_loadFailed = false;
};

} // namespace moorix
