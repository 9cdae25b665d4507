// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"

namespace moorix {

/// The one error type of all remote file services. The message the user reads is built from the case and its text.
class FileServiceError final : public Error
{
public:
    enum class Case { notImplemented, authFailed, connectionFailed, operationFailed, notFound, notConnected };

    /// "X is not available yet."
    static FileServiceError notImplemented(const QString &text);
    /// "Authentication failed: X"
    static FileServiceError authFailed(const QString &text);
    /// "Could not connect: X"
    static FileServiceError connectionFailed(const QString &text);
    /// The text alone.
    static FileServiceError operationFailed(const QString &text);
    /// "Not found: X", X being a path.
    static FileServiceError notFound(const QString &path);
    /// "Not connected to the server."
    static FileServiceError notConnected();

    Case kind() const { return m_kind; }
    /// The connection has failed, or there is none: whatever is asked for next would fail, too.
    bool isOfConnection() const
    {
        return m_kind == Case::notConnected || m_kind == Case::connectionFailed || m_kind == Case::authFailed;
    }
    /// What the case carries, without the words around it.
    const QString &text() const { return m_text; }

private:
    FileServiceError(Case kind, QString text, QString description);

    Case m_kind;
    QString m_text;
};

} // namespace moorix
