// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "editor/RecoveryCopies.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

namespace moorix {

class FileService;

/// A text file of this machine that is open in the editor, without its text: what it is on the disk, how it is saved,
/// and what is kept of it for the case of a crash. Work goes on in the background, and one save at a time. Main thread.
class TextDocument final : public QObject
{
    Q_OBJECT

public:
    struct Environment
    {
        std::shared_ptr<FileService> disk;
        std::shared_ptr<RecoveryCopies> recovery;
    };
    using Standing = textFile::Standing;
    /// Whether what somebody else has written meanwhile may be replaced.
    enum class Guard { known, anything };

    /// `place` is what the user knows the file by where that is not its path, or empty.
    TextDocument(Environment environment, const QString &path, const QString &place, const LoadedText &loaded,
                 WriteProtection protection, QObject *parent = nullptr);

    const QString &path() const { return m_record.path; }
    const QString &place() const { return m_record.place; }
    QString name() const;
    TextEncoding encoding() const { return m_record.encoding; }
    /// Takes effect with the next save.
    void setEncoding(TextEncoding encoding) { m_record.encoding = encoding; }
    const WriteProtection &protection() const { return m_protection; }
    void waiveProtection() { m_protection = {}; }
    bool isSaving() const { return m_isSaving; }
    /// The file on the disk as it was when it was last looked at.
    Standing standing() const { return m_standing; }

    /// Goes on with a text that an earlier run has left.
    void adopt(const RecoveryCopies::Found &found);
    /// Keeps the text (UTF-8) as it is now; `done` may show where.
    void keep(const QByteArray &text, std::function<void(const QString &textPath)> done = {});
    /// The same at the end of the program: blocking. Returns what went wrong, or nothing.
    QString keepNow(const QByteArray &text);
    /// The text is wanted no more.
    void forget();

    /// Saves the text. Ends with one of the signals below.
    void save(const QByteArray &text, Guard guard);
    /// Saves it into another file, over what stands there, which is the document's from then on.
    void saveAs(const QByteArray &text, const QString &path);
    /// Reads the file anew, by `encoding` where somebody chose one.
    void reload(std::optional<TextEncoding> encoding);
    /// Looks whether the file is still the same.
    void look();

signals:
    void saved();
    /// Nothing was written: the file is another one by now, or gone.
    void saveRefused(moorix::textFile::Standing standing);
    /// Nothing was written: the encoding has no bytes for this character.
    void unencodable(const QString &character, int line);
    void saveFailed(const QString &sentence);
    void reloaded(const moorix::LoadedText &loaded);
    void reloadFailed(const QString &sentence);
    void standingChanged();
    /// The text could not be kept for the case of a crash.
    void keepFailed(const QString &sentence);

private:
    void write(const QByteArray &text, const QString &path, const std::optional<FileVersion> &known);
    void watch();
    void setStanding(Standing standing);

    Environment m_environment;
    RecoveryRecord m_record;
    WriteProtection m_protection;
    Standing m_standing = Standing::same;
    bool m_isSaving = false;
    QUuid m_id;
    /// Counts what was asked of the recovery copies.
    qint64 m_turn = 0;
    QFileSystemWatcher m_watcher;
    QTimer m_settling;
    Job m_saving;
    Job m_loading;
    Job m_looking;
    Job m_keeping;
};

} // namespace moorix
