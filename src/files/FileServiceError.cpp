// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/FileServiceError.h"

namespace moorix {

FileServiceError::FileServiceError(Case kind, QString text, QString description)
    : Error(QStringLiteral("FileService"), std::move(description))
    , m_kind(kind)
    , m_text(std::move(text))
{
}

FileServiceError FileServiceError::notImplemented(const QString &text)
{
    return {Case::notImplemented, text, text + QStringLiteral(" is not available yet.")};
}

FileServiceError FileServiceError::authFailed(const QString &text)
{
    return {Case::authFailed, text, QStringLiteral("Authentication failed: ") + text};
}

FileServiceError FileServiceError::connectionFailed(const QString &text)
{
    return {Case::connectionFailed, text, QStringLiteral("Could not connect: ") + text};
}

FileServiceError FileServiceError::operationFailed(const QString &text)
{
    return {Case::operationFailed, text, text};
}

FileServiceError FileServiceError::notFound(const QString &path)
{
    return {Case::notFound, path, QStringLiteral("Not found: ") + path};
}

FileServiceError FileServiceError::notConnected()
{
    return {Case::notConnected, QString(), QStringLiteral("Not connected to the server.")};
}

} // namespace moorix
