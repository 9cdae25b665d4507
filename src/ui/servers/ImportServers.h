// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "servers/ServerConnection.h"

#include <QDialog>
#include <QList>

class QLabel;
class QListWidget;
class QPushButton;

namespace moorix {

class AppModel;

/// Offers the hosts of the user's OpenSSH configuration, each with a check box, and saves the checked ones. Opened with
/// `open()`; deletes itself.
class ImportServers final : public QDialog
{
    Q_OBJECT

public:
    explicit ImportServers(AppModel &model, QWidget *parent = nullptr);
    ~ImportServers() override;

private:
    void offer(const QList<ServerConnection> &hosts);
    void updateButton();
    void importChecked();

    AppModel &m_model;
    QLabel *m_state;
    QListWidget *m_list;
    QPushButton *m_import;
    QList<ServerConnection> m_hosts;
    Job m_job;
};

} // namespace moorix
