// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"

#include <QFileSystemWatcher>
#include <QLockFile>
#include <QObject>

#include <memory>
#include <optional>

namespace moorix {

/// A document on disk that several programs of one user have open, a window and the command line, say: who changes it
/// locks it, reads what others have written, and writes the whole. Main thread.
class SharedDocument final : public QObject
{
    Q_OBJECT

public:
    enum class Access { readOnly, readWrite };

    /// `path` ends in ".json". `subject` names the document in messages: "the server library". With `Access::readOnly`
    /// the file is read but never written, moved or locked.
    SharedDocument(QString path, QString subject, Access access, QObject *parent = nullptr);

    /// Keeps the others out until the lock is let go. Waits for them a few milliseconds at most; one that holds it
    /// longer is not waited for.
    [[nodiscard]] std::unique_ptr<QLockFile> lock() const;

    /// What the file holds, unless that was read or written here before; nothing too when there is no file. Throws an
    /// Error when it cannot be read or decoded. It is then moved aside, now or at the latest before the next write.
    template <class Document>
    std::optional<Document> readIfChanged()
    {
        try {
            if (!readBytes())
                return std::nullopt;
            Document document = Document::decode(*m_known);
            m_isDamagedInPlace = false;
            return document;
        } catch (const Error &) {
            setAside();
            throw;
        }
    }
    /// Where the damaged file of the last failed read was moved to; empty when it could not be moved.
    const QString &asidePath() const { return m_asidePath; }

    /// Throws an Error when the file cannot be written, or when a damaged one is in its place and cannot be moved.
    template <class Document>
    void write(const Document &document)
    {
        writeBytes(document.encode());
    }

signals:
    /// Something changed in the file's folder.
    void touched();

private:
    /// Whether the file holds what is not known yet, which is known then.
    bool readBytes();
    void writeBytes(QByteArray bytes);
    QString asidePathFor(const QString &stamp) const;
    void setAside();
    void watch();

    QString m_path;
    QString m_subject;
    Access m_access;
    std::optional<QByteArray> m_known;
    QString m_asidePath;
    bool m_isDamagedInPlace = false;
    QFileSystemWatcher m_watcher;
};

} // namespace moorix
