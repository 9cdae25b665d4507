// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPQuoting.h"

#include "files/FileServiceError.h"
#include "files/Format.h"

#include <algorithm>

namespace moorix::SFTPQuoting {

namespace {

constexpr qsizetype longestLineBytes = 2046;

/// Names that are not UTF-8 travel through the program as text with a lone surrogate per odd byte.
bool holdsLoneSurrogate(const QString &path)
{
    for (qsizetype i = 0; i < path.size(); ++i) {
        if (path.at(i).isHighSurrogate() && i + 1 < path.size() && path.at(i + 1).isLowSurrogate())
            ++i;
        else if (path.at(i).isSurrogate())
            return true;
    }
    return false;
}

/// The path as a client may see it: checked, and never taken for an option.
QString checked(const QString &path)
{
    rejectControlCharacters(path);
    if (path.isEmpty())
        throw FileServiceError::operationFailed(QStringLiteral("The path is empty."));
    if (holdsLoneSurrogate(path)) {
        throw FileServiceError::operationFailed(
            QStringLiteral("“%1” cannot be reached: its name holds bytes that are not UTF-8 text.")
                .arg(Format::display(path)));
    }
    return path.startsWith(u'-') ? QStringLiteral("./") + path : path;
}

QString between(QChar quote, const QString &text)
{
    return quote + text + quote;
}

} // namespace

void rejectControlCharacters(const QString &path)
{
    if (std::any_of(path.begin(), path.end(), [](QChar c) { return c.unicode() < 0x20; }))
        throw FileServiceError::operationFailed(QStringLiteral("Path contains invalid control characters."));
}

QString sftpPath(const QString &path)
{
    QString text = checked(path);
    text.replace(u'\\', QStringLiteral("\\\\"));
    text.replace(u'"', QStringLiteral("\\\""));
    return between(u'"', text);
}

QString sftpListPath(const QString &path)
{
    return sftpPath(path).replace(u'{', QStringLiteral("\\{"));
}

QString shellPath(const QString &path)
{
    QString text = checked(path);
    const auto isSpecial = [](QChar c) { return c == u'\\' || c == u'$' || c == u'`' || c == u'!'; };
    if (std::none_of(text.begin(), text.end(), isSpecial))
        return between(u'"', text.replace(u'"', QStringLiteral("\\\"")));
    // Close the quotes, add the character behind a backslash, open them again: csh expands "!" inside any quotes.
    QString quoted;
    for (const QChar c : std::as_const(text)) {
        if (c == u'\'' || c == u'\\' || c == u'!')
            quoted += QStringLiteral("'\\") + c + u'\'';
        else
            quoted += c;
    }
    return between(u'\'', quoted);
}

void rejectLongLine(const QString &line)
{
    const qsizetype bytes = line.toUtf8().size();
    if (bytes > longestLineBytes) {
        throw FileServiceError::operationFailed(
            QStringLiteral("The path is too long: the sftp client takes commands of up to %1 bytes, this one has %2.")
                .arg(longestLineBytes)
                .arg(bytes));
    }
}

} // namespace moorix::SFTPQuoting
