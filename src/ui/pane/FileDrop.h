// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "ui/pane/PaneContext.h"

#include <QObject>

class QDropEvent;
class QMimeData;

namespace moorix {

class PaneModel;

/// Decides what a drop on a pane does and hands it to the transfers. Within one place a drop moves, between two it
/// copies; Ctrl copies and Shift moves. Main thread.
class FileDrop final : public QObject
{
    Q_OBJECT

public:
    FileDrop(PaneModel &pane, const PaneContext &context, QObject *parent = nullptr);

    /// Files of a pane, or of another program if they are on this machine.
    bool accepts(const QMimeData &data) const;
    /// What dropping what was accepted on `folder` would do; IgnoreAction where it would do nothing or harm.
    Qt::DropAction actionFor(const QDropEvent &event, const QString &folder) const;
    void drop(QDropEvent &event, const QString &folder);
    /// Copies or moves what another program offers, in the background, into `folder`.
    void takeLocalFiles(const QStringList &paths, const QString &folder, bool isMove);

signals:
    void refused(const QString &sentence);

private:
    PaneModel &m_pane;
    std::shared_ptr<FileService> m_localFiles;
    std::function<void(TransferRequest)> m_transfer;
    Job m_statJob;
};

} // namespace moorix
