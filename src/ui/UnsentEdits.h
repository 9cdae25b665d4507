// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/EditedFiles.h"

#include <QObject>
#include <QSet>

#include <functional>
#include <optional>

namespace moorix {

class AppModel;
class MessageBar;

/// What the window says about edited files whose changes are not on their servers yet, when the user is about to leave
/// these. None of it loses a change: the copies stay, also across the end of the program.
class UnsentEdits final : public QObject
{
    Q_OBJECT

public:
    /// Questions are put into `bar`.
    UnsentEdits(AppModel &model, MessageBar &bar, QObject *parent);

    /// Of one server, or of all.
    QList<EditedFile> list(const std::optional<QUuid> &server = std::nullopt) const;
    /// Whether an upload may change anything before somebody answers for the files that were changed on both sides.
    static bool canUpload(const QList<EditedFile> &files);
    /// "“a.txt” was edited and is not uploaded to web yet;", to be ended by what becomes of it.
    static QString sentence(const QList<EditedFile> &files);

    /// Disconnects a server, after a question where something of it is not uploaded, or a transfer would be broken off.
    void disconnectServer(const QUuid &server);
    /// Uploads what can be, shows `text` meanwhile with a button that does not wait, and calls `leave` once nothing is
    /// unsent. Stays where something cannot be uploaded, and says so.
    void uploadBefore(const std::optional<QUuid> &server, const QString &text, const QString &buttonText,
                      std::function<void()> leave);

private:
    qsizetype transfersWith(const QUuid &server) const;
    void followUploads();
    void followTabs();
    QSet<QUuid> serversInTabs() const;

    AppModel &m_model;
    MessageBar &m_bar;
    std::optional<QUuid> m_server;
    /// Set while uploads are waited for.
    std::function<void()> m_leave;
    QSet<QUuid> m_servers;
};

} // namespace moorix
