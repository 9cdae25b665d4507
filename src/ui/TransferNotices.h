// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QSet>
#include <QUuid>

namespace moorix {

class EditedFiles;
class TransferEngine;

/// What transfers and uploads of edited files have to tell outside the window while none of the program's windows has
/// the keyboard: questions that they wait with, failures, and the end of long ones. Main thread.
class TransferNotices final : public QObject
{
    Q_OBJECT

public:
    explicit TransferNotices(TransferEngine &transfers, QObject *parent = nullptr);

    /// Whoever edits a file in another program sees nothing of what becomes of it.
    void follow(const EditedFiles &files);

signals:
    /// As DesktopNotifier takes it.
    void raised(const QString &topic, const QString &title, const QString &text);

private:
    void followQuestion();
    void followList();
    void followTransfer(const QUuid &id);

    TransferEngine &m_transfers;
    QSet<QUuid> m_open;
    /// Edited files that could not be uploaded.
    QSet<QUuid> m_unsent;
};

} // namespace moorix
