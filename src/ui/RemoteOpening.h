// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/FileItem.h"
#include "servers/ServerConnection.h"

#include <QObject>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>

class QBoxLayout;

namespace moorix {

class AppModel;
class MessageBar;
class RemoteFileService;

/// Hands a file on this machine to the desktop's program for it, and says when there is none.
void openWithDesktop(AppModel &model, const QString &path);

/// A file of a server on its way to the desktop's program for it, which edits a copy that is uploaded on each save:
/// asks first when it is large, shows how far the download is, and can be given up. Ends itself when the file is open
/// or nobody wants it any more. Main thread.
class RemoteOpening final : public QObject
{
    Q_OBJECT

public:
    /// Files larger than this are asked about first.
    static constexpr qint64 largeBytes = 50'000'000;

    /// Shows its notices at the top of `column`, whose widget becomes the parent. `opener` takes the copy in place of
    /// the desktop's program.
    RemoteOpening(AppModel &model, ServerConnection server, std::shared_ptr<RemoteFileService> service, FileItem file,
                  QBoxLayout &column, std::function<void(const QString &path)> opener = {});
    ~RemoteOpening() override;

    const FileItem &file() const { return m_file; }
    /// It could not be fetched, and waits for the user.
    bool hasFailed() const { return m_hasFailed; }
    void end();

private:
    void fetch();
    void showProgress();

    AppModel &m_model;
    ServerConnection m_server;
    std::shared_ptr<RemoteFileService> m_service;
    FileItem m_file;
    MessageBar *m_bar;
    std::function<void(const QString &)> m_opener;
    std::shared_ptr<std::atomic<qint64>> m_received;
    bool m_hasFailed = false;
    QTimer m_tick;
    Job m_job;
};

} // namespace moorix
