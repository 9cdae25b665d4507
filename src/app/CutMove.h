// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"

#include <QList>
#include <QObject>
#include <QUuid>

namespace moorix {

class FileClipboard;
struct FileItem;
class TransferEngine;

/// The way of cut files after they were pasted: they leave the clipboard once they are moved, and those that are not
/// moved stay cut. Main thread.
class CutMove final : public QObject
{
    Q_OBJECT

public:
    CutMove(FileClipboard &clipboard, const TransferEngine &transfers, QObject *parent = nullptr);

    /// Whether what is on the clipboard is being moved, so that another paste would find it gone.
    bool isUnderWay() const;
    /// This transfer moves what is on the clipboard.
    void follow(const QUuid &transfer);

private:
    void followTransfer(const QUuid &id);
    void look();
    void keepCut(const QList<FileItem> &left);

    FileClipboard &m_clipboard;
    const TransferEngine &m_transfers;
    /// Null once the clipboard holds something else.
    QUuid m_transfer;
    bool m_isKeeping = false;
    Job m_look;
};

} // namespace moorix
