// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferConflict.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <functional>
#include <stop_token>

namespace moorix {

class ZipArchive;
struct ZipEntry;

struct RestoreOutcome
{
    qint64 files = 0;
    qint64 bytes = 0;
    qint64 skipped = 0;
    /// One sentence for each entry that was not restored.
    QStringList failures;
    bool wasCancelled = false;
};

/// Brings entries of an archive into a folder. Nothing is ever written outside that folder, whatever the names in the
/// archive are, nor through a link in it; links in the archive are left out. A file gets its name once all of it is
/// there. Blocking; worker threads; used once.
class ArchiveExtraction final
{
public:
    struct Callbacks
    {
        TransferConflictPolicy policy = TransferConflictPolicy::ask;
        /// For the policy `ask`; may wait for the user.
        std::function<ConflictAnswer(const TransferConflict &)> ask;
        std::function<void(const QString &name, qint64 done, qint64 total)> progress;
    };

    /// The folder exists.
    ArchiveExtraction(const ZipArchive &archive, QString toFolder, Callbacks callbacks);

    /// `paths` are those of entries or of folders that entries lie in, as they stand in the archive; each arrives in
    /// the folder under its last name, with all that lies below it. None: everything, under its whole path. Throws an
    /// Error when there is too little room or a path is not in the archive; what happens to single entries is in the
    /// outcome.
    RestoreOutcome run(const QStringList &paths, const std::stop_token &stop);

private:
    struct Piece
    {
        qsizetype index;
        /// Below the folder.
        QString target;
    };

    QList<Piece> plan(const QStringList &paths);
    void requireRoom(const QList<Piece> &pieces, const std::stop_token &stop) const;
    void restore(const Piece &piece, const std::stop_token &stop);
    /// Where the file goes, or nothing when it is skipped.
    std::optional<QString> placeFor(const Piece &piece, bool &replaces);
    void makeFolders(const QString &target);
    void writeFile(const Piece &piece, const QString &path, bool replaces, const std::stop_token &stop);
    void finishFolders() const;

    const ZipArchive &m_archive;
    QString m_folder;
    Callbacks m_callbacks;
    RestoreOutcome m_outcome;
    qint64 m_total = 0;
    std::optional<ConflictAnswer::Choice> m_forAll;
    QSet<QString> m_known;
    /// Folders that were made here, and their entries.
    QList<QPair<QString, qsizetype>> m_made;
};

} // namespace moorix
