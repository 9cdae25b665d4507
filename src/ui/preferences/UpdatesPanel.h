// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

namespace moorix {

class AppUpdateManager;

/// How the last update check went, with a button for the next one.
class UpdatesPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit UpdatesPanel(AppUpdateManager &updates, QWidget *parent = nullptr);

private:
    void follow();

    AppUpdateManager &m_updates;
    QLabel *m_status;
    QLabel *m_last;
    QLabel *m_error;
    QPushButton *m_check;
    QPushButton *m_download;
};

} // namespace moorix
