// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/PaneSlot.h"

#include <QList>
#include <QObject>

#include <memory>
#include <optional>

namespace moorix {

class FileService;
class LeftOperations;
class ServerConnections;
class Session;
class SettingsStore;
class TransferEngine;

/// One side of the window: its slot and the tabs in it. There is always at least one tab, and exactly one is current;
/// the slot's mode follows it. Main thread.
class PaneTabs final : public QObject
{
    Q_OBJECT

public:
    /// A tab as it is remembered from one run to the next.
    struct SavedTab
    {
        PaneMode mode = PaneMode::local;
        /// Empty for the library and for a server's start folder.
        QString path;
        std::optional<ServerConnection> server;
    };

    /// What the tabs work with; all of it outlives them.
    struct Environment
    {
        std::shared_ptr<FileService> localFiles;
        ServerConnections &connections;
        SettingsStore &settings;
        TransferEngine &transfers;
        /// Takes over what is under way in tabs that are closed.
        LeftOperations &leftOperations;
    };

    /// Starts with one local tab.
    explicit PaneTabs(Environment environment, QObject *parent = nullptr);
    ~PaneTabs() override;

    PaneSlot &slot() const { return *m_slot; }
    const QList<Session *> &sessions() const { return m_sessions; }
    Session &current() const { return *m_sessions.at(m_currentIndex); }
    qsizetype currentIndex() const { return m_currentIndex; }
    void setCurrentIndex(qsizetype index);

    /// Replaces all tabs; servers are not connected before somebody asks for it. Nothing happens without tabs.
    void restore(const QList<SavedTab> &tabs, qsizetype currentIndex);
    /// A new tab behind the current one, made current.
    Session &openLocal(const QString &path);
    /// The tab of the server library: an existing one, or a new one.
    Session &openServers();
    /// A new tab that connects. An absent path opens the record's start folder.
    Session &openServer(const ServerConnection &server, const std::optional<ConnectionCredentials> &credentials,
                        const std::optional<QString> &path);
    /// A new tab with the terminal of a server, or of this computer.
    Session &openTerminal(const ServerConnection &server);
    /// Shows the server in the current tab instead of what is there (a click on a saved server).
    Session &openServerHere(const ServerConnection &server, const std::optional<QString> &path = std::nullopt);
    /// Shows a local folder in the current tab: loads it when the tab is local, else replaces the tab.
    Session &openLocalHere(const QString &path);
    /// Closing the last tab leaves a local one.
    void close(qsizetype index);
    void moveTab(qsizetype from, qsizetype to);
    /// Lists these folders of a service again wherever they are shown.
    void reload(const FileService *service, const QStringList &folders);

signals:
    /// Tabs came, went or moved. Sessions that went are deleted later, after the signal.
    void sessionsChanged();
    void currentChanged();

private:
    Session &append(std::unique_ptr<Session> session);
    Session &replaceCurrent(std::unique_ptr<Session> session);
    Session &adopt(std::unique_ptr<Session> session);
    void discard(Session *session);
    std::unique_ptr<Session> make(const SavedTab &tab);
    std::unique_ptr<Session> makeLocal();
    std::unique_ptr<Session> makeLocal(const QString &path);
    std::unique_ptr<Session> makeRemote(const ServerConnection &server,
                                        const std::optional<ConnectionCredentials> &credentials,
                                        const std::optional<QString> &path);
    void setUp(PaneModel &pane) const;
    void showCurrent();

    Environment m_environment;
    std::unique_ptr<PaneSlot> m_slot;
    QList<Session *> m_sessions;
    qsizetype m_currentIndex = 0;
};

} // namespace moorix
