// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"
#include "editor/TextFile.h"

#include <QHash>
#include <QStringList>
#include <QUuid>

#include <mutex>

namespace moorix {

/// What unsaved text belongs to.
struct RecoveryRecord
{
    /// The file on this machine that it would be saved into.
    QString path;
    /// What the user knows the file by, where that is something else: "web: /etc/hosts".
    QString place;
    TextEncoding encoding = TextEncoding::utf8;
    /// The file as it was when the text was begun from it.
    FileVersion version;

    bool operator==(const RecoveryRecord &) const = default;
};

/// Text that was typed and not saved yet, in files of its own that only this user can read, so that it outlives a
/// crash: one folder for each text, locked by the program that holds it open. Blocking; any thread, from several at
/// once.
class RecoveryCopies final
{
public:
    struct Found
    {
        QUuid id;
        RecoveryRecord record;
        /// When the text was last kept.
        QDateTime written;
    };
    struct LeftOver
    {
        /// The oldest first.
        QList<Found> found;
        /// A sentence for each text of which nothing tells any more where it belongs, with where it lies.
        QStringList problems;
    };

    explicit RecoveryCopies(QString root);
    Q_DISABLE_COPY_MOVE(RecoveryCopies)

    /// What programs left that do not run any more. It belongs to this object from then on.
    LeftOver leftOver();
    /// Whether text is kept for the file at this path.
    bool covers(const QString &path);

    /// Keeps a text (UTF-8). `turn` counts up for each call with one `id`: what comes after a later one does nothing,
    /// so that a slow write cannot bring back what was removed. Throws an Error when it cannot be written.
    void write(const QUuid &id, qint64 turn, const RecoveryRecord &record, const QByteArray &text);
    /// Forgets a text that is saved, or that nobody wants.
    void remove(const QUuid &id, qint64 turn);
    /// Throws an Error when it cannot be read.
    QByteArray text(const QUuid &id) const;
    /// Where the text lies.
    QString textPath(const QUuid &id) const;

private:
    struct Entry
    {
        FileDescriptor lock;
        std::optional<RecoveryRecord> record;
        QDateTime written;
        qint64 turn = 0;
    };

    void takeOver();
    void takeOver(const QUuid &id);
    QString folder(const QUuid &id) const;

    QString m_root;
    std::mutex m_mutex;
    bool m_hasTakenOver = false;
    QHash<QUuid, std::shared_ptr<Entry>> m_entries;
    QList<QUuid> m_leftOver;
    QStringList m_problems;
};

} // namespace moorix
