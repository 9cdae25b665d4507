// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/PaneSlot.h"

#include "files/PaneModel.h"

namespace moorix {

PaneSlot::PaneSlot(std::shared_ptr<FileService> localService, QObject *parent)
    : QObject(parent)
    , m_id(QUuid::createUuid())
    , m_localPane(std::make_unique<PaneModel>(std::move(localService), QStringLiteral("Local"), true))
    , m_draft(ServerConnection::newDraft(NetworkProtocol::sftp))
{
}

PaneSlot::~PaneSlot() = default;

void PaneSlot::setMode(PaneMode mode)
{
    if (mode == m_mode)
        return;
    m_mode = mode;
    emit modeChanged();
}

void PaneSlot::setShowsQuickConnect(bool shows)
{
    if (shows == m_showsQuickConnect)
        return;
    m_showsQuickConnect = shows;
    emit quickConnectChanged();
}

void PaneSlot::setDraft(const ServerConnection &draft)
{
    if (draft == m_draft)
        return;
    m_draft = draft;
    emit draftChanged();
}

} // namespace moorix

// Here rather than with all others in one file: a program that uses this class then links no class it does not use.
#include "moc_PaneSlot.cpp"
