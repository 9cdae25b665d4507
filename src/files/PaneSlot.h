// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "servers/ServerConnection.h"

#include <QObject>

#include <memory>

namespace moorix {

class FileService;
class PaneModel;

/// What one side of the window shows.
enum class PaneMode { local, servers, remote, terminal };

/// One of the two side-by-side places in a window. Main thread.
class PaneSlot final : public QObject
{
    Q_OBJECT

public:
    /// `localService` is what the slot's own local pane browses.
    explicit PaneSlot(std::shared_ptr<FileService> localService, QObject *parent = nullptr);
    ~PaneSlot() override;

    const QUuid &id() const { return m_id; }
    /// Kept for the slot's life, whatever the slot shows.
    PaneModel &localPane() const { return *m_localPane; }
    PaneMode mode() const { return m_mode; }
    void setMode(PaneMode mode);
    bool showsQuickConnect() const { return m_showsQuickConnect; }
    void setShowsQuickConnect(bool shows);
    /// The record being edited in the slot's connection form.
    const ServerConnection &draft() const { return m_draft; }
    void setDraft(const ServerConnection &draft);

signals:
    void modeChanged();
    void quickConnectChanged();
    void draftChanged();

private:
    QUuid m_id;
    std::unique_ptr<PaneModel> m_localPane;
    PaneMode m_mode = PaneMode::local;
    bool m_showsQuickConnect = false;
    ServerConnection m_draft;
};

} // namespace moorix
