// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/PaneSlot.h"

#include <QObject>

namespace moorix {

class PaneModel;
class RemoteFileService;
class ServerConnections;
class SettingsStore;

/// One tab of a side: a local folder, the server library, or one server, connected or connecting. Main thread.
class Session final : public QObject
{
    Q_OBJECT

public:
    enum class State { ready, connecting, failed };

    const QUuid &id() const { return m_id; }
    PaneMode mode() const { return m_mode; }
    State state() const { return m_state; }
    /// The tab's label: the folder's name, "Servers", or the server's display name.
    QString title() const;
    /// The file list; null for the library and while a server is not connected.
    PaneModel *pane() const { return m_pane; }
    const std::optional<ServerConnection> &server() const { return m_server; }
    /// What a connecting session waits for ("Connecting to web-01…"), or the sentence of its failure; the client's
    /// own words follow after a line break.
    const QString &stateText() const { return m_stateText; }
    /// Said above the list until dismissed: a first contact with a host, for one.
    const QString &notice() const { return m_notice; }
    void dismissNotice();

    /// Connects (again) after a failure or a cancel.
    void retry();
    /// Gives up connecting; the session turns to `failed` and can be retried.
    void cancelConnecting();

signals:
    void stateChanged();
    void titleChanged();
    void noticeChanged();

private:
    QUuid m_id;
    PaneMode m_mode = PaneMode::local;
    State m_state = State::ready;
    PaneModel *m_pane = nullptr;
    std::optional<ServerConnection> m_server;
    QString m_stateText;
    QString m_notice;
};

} // namespace moorix
