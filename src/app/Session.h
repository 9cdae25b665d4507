// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/PaneSlot.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace moorix {

class PaneModel;
class ServerConnections;
struct OpenConnection;

/// One tab of a side: a local folder, the server library, or one server, connected or connecting. Main thread.
class Session final : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("files/PaneModel.h")

public:
    /// `dormant` is a server that nobody asked to connect yet: a tab of an earlier run.
    enum class State { ready, dormant, connecting, failed };
    /// Gives a new file list its order and its switch for hidden entries.
    using PaneSetup = std::function<void(PaneModel &)>;

    /// What a tab of a server needs.
    struct Target
    {
        ServerConnection server;
        /// Absent: those of the keychain.
        std::optional<ConnectionCredentials> credentials;
        /// Absent: the record's start folder.
        std::optional<QString> path;
    };

    /// A local tab with a file list of its own.
    static std::unique_ptr<Session> local(std::unique_ptr<PaneModel> pane);
    /// A local tab over a file list that somebody else keeps.
    static std::unique_ptr<Session> local(PaneModel &sharedPane);
    static std::unique_ptr<Session> library();
    /// A tab with the terminal of a server or, where that is ServerConnection::localTerminalID, of this computer.
    static std::unique_ptr<Session> terminal(const ServerConnection &server);
    /// A tab of a server; connects at once.
    static std::unique_ptr<Session> remote(Target target, ServerConnections &connections, PaneSetup setUp);
    /// A tab of a server that connects when it is told to.
    static std::unique_ptr<Session> dormant(Target target, ServerConnections &connections, PaneSetup setUp);
    ~Session() override;

    const QUuid &id() const { return m_id; }
    PaneMode mode() const { return m_mode; }
    State state() const { return m_state; }
    /// The tab's label: the folder's name, "Servers", or the server's display name.
    QString title() const;
    /// The file list; null for the library and while a server is not connected.
    PaneModel *pane() const { return m_pane; }
    const std::optional<ServerConnection> &server() const { return m_server; }
    /// The folder shown or, until there is one, the folder to be opened. Empty for the library, and where a server's
    /// start folder is meant.
    QString folder() const;
    /// Opens the folder that a local tab of an earlier run showed. One that is gone, the disk with it perhaps, is
    /// replaced by the nearest folder above it, and `notice` says so.
    void openRemembered(const QString &path);
    /// What the tab is to open at the next start: `folder`, or the folder it is waiting for or was to show as long as
    /// the user has not gone elsewhere from what stands in for it.
    QString folderToRemember() const;
    /// What a connecting session waits for ("Connecting to web-01…"), or the sentence of its failure; the client's
    /// own words follow after a line break.
    const QString &stateText() const { return m_stateText; }
    /// Said above the list until dismissed: a first contact with a host, for one.
    const QString &notice() const { return m_notice; }
    void dismissNotice();

    /// Connects: for the first time, or again after a failure or a cancel.
    void retry();
    /// Gives up connecting; the session turns to `failed` and can be retried.
    void cancelConnecting();

signals:
    void stateChanged();
    void titleChanged();
    void noticeChanged();
    /// The file list goes, with its connection.
    void paneLeaves(moorix::PaneModel &pane);

private:
    explicit Session(PaneMode mode);

    void observe(PaneModel &pane);
    void lookAboveRemembered();
    void standInForRemembered(const QString &above);
    void forgetRemembered();
    void connectToServer();
    void show(const OpenConnection &connection);
    void dropPane();
    void setState(State state, const QString &text);
    void noticeLostConnection();
    void endConnection(const QString &reason);

    QUuid m_id;
    PaneMode m_mode = PaneMode::local;
    State m_state = State::ready;
    PaneModel *m_pane = nullptr;
    std::unique_ptr<PaneModel> m_ownPane;
    std::optional<ServerConnection> m_server;
    std::optional<ConnectionCredentials> m_credentials;
    std::optional<QString> m_path;
    ServerConnections *m_connections = nullptr;
    PaneSetup m_setUp;
    /// The folder of an earlier run that is not shown yet, and the one shown in its place.
    QString m_remembered;
    QString m_standIn;
    QString m_stateText;
    QString m_notice;
    Job m_job;
};

} // namespace moorix
