// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferRequest.h"

#include <QObject>

#include <functional>

class QDropEvent;
class QMimeData;

namespace moorix {

/// Decides what a drop on a folder does and hands it to the transfers. Within one place a drop moves, between two it
/// copies; Ctrl copies and Shift moves. What was dropped is handed on also after this object has gone. Main thread.
class FileDrop final : public QObject
{
    Q_OBJECT

public:
    using Transfer = std::function<void(TransferRequest)>;
    /// Whether they are still wanted.
    using Found = std::function<bool(const QList<FileItem> &)>;

    /// `destination` has the folders; it is not kept alive, and may be null where `transfer` knows it. Without
    /// `transfer` nothing is taken, without `localFiles` nothing of other programs.
    FileDrop(const std::shared_ptr<FileService> &destination, std::shared_ptr<FileService> localFiles,
             Transfer transfer, QObject *parent = nullptr);

    /// Files of a pane, or of another program if they are on this machine.
    bool accepts(const QMimeData &data) const;
    /// What dropping what was accepted on `folder` would do; IgnoreAction where it would do nothing or harm.
    Qt::DropAction actionFor(const QDropEvent &event, const QString &folder) const;
    void drop(QDropEvent &event, const QString &folder);
    /// Copies or moves what another program offers, in the background, into `folder`. `found`, if any, is asked first.
    void takeLocalFiles(const QStringList &paths, const QString &folder, bool isMove, Found found = {});

signals:
    void refused(const QString &sentence);

private:
    std::weak_ptr<FileService> m_destination;
    std::shared_ptr<FileService> m_localFiles;
    Transfer m_transfer;
};

} // namespace moorix
