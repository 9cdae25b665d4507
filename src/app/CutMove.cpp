// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CutMove.h"

#include "app/FileClipboard.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "transfers/TransferEngine.h"

#include <QSet>

#include <algorithm>

namespace moorix {

using State = TransferStatus::State;

namespace {

/// Those that are where they were. Blocking.
QList<FileItem> stillThere(FileService &service, QList<FileItem> items, const std::stop_token &stop)
{
    QSet<QString> folders;
    for (const FileItem &item : items)
        folders.insert(Format::parent(item.path));
    QSet<QString> there;
    for (const QString &folder : std::as_const(folders)) {
        for (const FileItem &item : service.list(folder, HiddenFiles::included, stop))
            there.insert(item.path);
    }
    items.removeIf([&there](const FileItem &item) { return !there.contains(item.path); });
    return items;
}

} // namespace

CutMove::CutMove(FileClipboard &clipboard, const TransferEngine &transfers, QObject *parent)
    : QObject(parent)
    , m_clipboard(clipboard)
    , m_transfers(transfers)
{
    connect(&transfers, &TransferEngine::transferChanged, this, &CutMove::followTransfer);
    connect(&clipboard, &FileClipboard::changed, this, [this] {
        if (m_isKeeping)
            return;
        m_transfer = {};
        m_look.cancel();
    });
}

bool CutMove::isUnderWay() const
{
    const auto status = std::ranges::find(m_transfers.transfers(), m_transfer, &TransferStatus::id);
    return !m_transfer.isNull() && status != m_transfers.transfers().end() && isOpen(status->state);
}

void CutMove::follow(const QUuid &transfer)
{
    m_transfer = transfer;
    m_look.cancel();
}

void CutMove::followTransfer(const QUuid &id)
{
    if (id != m_transfer || m_transfer.isNull())
        return;
    const auto status = std::ranges::find(m_transfers.transfers(), id, &TransferStatus::id);
    if (status == m_transfers.transfers().end())
        return;
    if (isOpen(status->state))
        m_look.cancel();
    else if (status->state == State::finished && status->skipped == 0)
        m_clipboard.clear();
    else
        look();
}

/// Where that cannot be told, all of it stays cut.
void CutMove::look()
{
    const FileClipboard::Content &cut = *m_clipboard.content();
    m_look = runJob([service = cut.service,
                     items = cut.items](const std::stop_token &stop) { return stillThere(*service, items, stop); },
                    [this](const QList<FileItem> &left) { keepCut(left); }, [](const Error &) {});
}

void CutMove::keepCut(const QList<FileItem> &left)
{
    FileClipboard::Content cut = *m_clipboard.content();
    if (left.isEmpty())
        return m_clipboard.clear();
    if (left.size() == cut.items.size())
        return;
    cut.items = left;
    m_isKeeping = true;
    m_clipboard.set(std::move(cut));
    m_isKeeping = false;
}

} // namespace moorix
