// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "servers/ServerConnection.h"

#include <QFrame>

class QLabel;
class QListWidget;
class QPushButton;

namespace moorix {

class AppModel;
class FileService;

/// Walks through the folders of a saved server, inline. Hidden until `open`.
class ServerFolderPicker final : public QFrame
{
    Q_OBJECT

public:
    explicit ServerFolderPicker(AppModel &model, QWidget *parent = nullptr);
    ~ServerFolderPicker() override;

    /// Connects and shows a folder; an empty path is the server's own start folder.
    void open(const ServerConnection &server, const QString &path);
    void close();

signals:
    void chosen(const QString &path);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void load(const QString &path);
    void show(const QString &path, const QStringList &folders);
    void fail(const QString &sentence);
    void enterCurrent();

    AppModel &m_model;
    QLabel *m_path;
    QLabel *m_state;
    QListWidget *m_folders;
    QPushButton *m_choose;
    QPushButton *m_retry;
    ServerConnection m_server;
    std::shared_ptr<FileService> m_service;
    QString m_folder;
    Job m_job;
};

} // namespace moorix
