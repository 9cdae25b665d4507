// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/EditedVersion.h"
#include "base/Job.h"
#include "servers/ServerConnection.h"

#include <QFileSystemWatcher>
#include <QObject>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace moorix {

class ServerConnections;

/// A file of a server that other programs edit on this machine, as the user sees it.
struct EditedFile
{
    enum class State {
        /// The server has what was saved last.
        uploaded,
        uploading,
        /// The server's file was changed by somebody else since.
        changedThere,
        goneThere,
        failed,
        /// The user gave the upload up.
        cancelled,
        /// An earlier run of the program ended before it was uploaded.
        leftOver
    };

    QUuid id;
    QUuid server;
    State state = State::uploaded;
    QString name;
    QString serverName;
    /// On the server.
    QString path;
    /// Why the upload failed, or the server could not be reached.
    QString problem = {};
    /// While it is uploading: since when, and how much has arrived there. No total before the file is on its way.
    std::chrono::steady_clock::time_point began = {};
    qint64 bytesDone = 0;
    qint64 bytesTotal = 0;

    bool needsAnswer() const { return state != State::uploaded && state != State::uploading; }
};

/// Files of servers that are edited on this machine: each is fetched into a private folder, watched, and uploaded on
/// each save unless the server's file was changed meanwhile. Of a server that the user disconnects nothing is uploaded
/// before the next save or answer. A copy is removed at the end only when the server has what is in it; all others are
/// found again by the next run. Main thread.
class EditedFiles final : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("files/FileService.h")

public:
    struct Environment
    {
        /// Where the copies lie.
        QString root;
        std::shared_ptr<FileService> disk;
        ServerConnections &connections;
        /// The library's record of a server.
        std::function<std::optional<ServerConnection>(const QUuid &server)> recordOf;
        TransferLink::Delays reconnectDelays = {std::chrono::seconds(1), std::chrono::seconds(3)};
        /// From the last sign of a save to the look at what was saved.
        std::chrono::milliseconds settlingTime{400};
        /// Whether there is text for the copy at this path that was never saved into it, without which the copy is of
        /// no use to anybody. Called on any thread.
        std::function<bool(const QString &path)> hasUnsavedText = [](const QString &) { return false; };
    };
    using Guard = editedVersion::Guard;

    /// Removes what earlier runs have left without changes, and lists what they have left with changes.
    explicit EditedFiles(Environment environment, QObject *parent = nullptr);
    ~EditedFiles() override;

    /// Fetches `file` to be edited; `received` counts its bytes meanwhile, readable by any thread. `done` gets the path
    /// of the copy, which is the one that is there already where nothing has changed on the server, or something in
    /// the copy. What was fetched of a job that is given up is removed.
    [[nodiscard]] Job fetch(const ServerConnection &server, std::shared_ptr<RemoteFileService> service,
                            const FileItem &file, std::shared_ptr<std::atomic<qint64>> received,
                            std::function<void(const QString &path)> done, std::function<void(const Error &)> failed);

    /// The oldest first.
    QList<EditedFile> files() const;
    /// Not on the server, or on the way.
    QList<EditedFile> unsent() const;

    /// Uploads a copy now, connecting to its server if need be.
    void send(const QUuid &id, Guard guard);
    /// Gives up an upload.
    void cancel(const QUuid &id);
    /// Puts the copy into the user's bin and forgets it.
    void discard(const QUuid &id);
    /// Copies the copy to another place on this machine, over what stands there.
    void saveAs(const QUuid &id, const QString &path);

signals:
    void filesChanged();
    void messageRaised(const QString &sentence);
    /// An upload has changed this folder of a server.
    void folderChanged(const moorix::FileService *service, const QStringList &folders);

private:
    struct Entry;

    Entry *find(const QUuid &id) const;
    Entry &add(std::shared_ptr<EditedCopy> copy, const EditedRecord &record, EditedFile::State state);
    void drop(const QUuid &id);
    void takeOver();
    void watch(Entry &entry);
    void notice(const QString &path);
    void look(const QUuid &id);
    void upload(const QUuid &id, Guard guard, std::shared_ptr<FileService> server);
    void finish(const QUuid &id, editedVersion::Outcome outcome, const EditedRecord &record);
    void holdBack(const QUuid &server);
    void setState(Entry &entry, EditedFile::State state, const QString &problem = {});

    Environment m_environment;
    std::vector<std::unique_ptr<Entry>> m_entries;
    QFileSystemWatcher m_watcher;
    Job m_takeOver;
};

} // namespace moorix
