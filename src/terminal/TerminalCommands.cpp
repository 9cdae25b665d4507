// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/TerminalCommands.h"

#include <QByteArray>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace moorix::TerminalCommands {

namespace {

constexpr qsizetype longestTitle = 256;
constexpr qsizetype longestAddress = 2083;

bool isControl(QChar c)
{
    return c < u' ' || (c >= QChar(0x7F) && c < QChar(0xA0));
}

Title title(QByteArrayView text)
{
    QString clean = QString::fromUtf8(text.first(std::min<qsizetype>(text.size(), 4 * longestTitle)));
    clean.removeIf(isControl);
    clean.truncate(longestTitle);
    return {clean};
}

std::optional<Command> workingFolder(QByteArrayView text)
{
    const QUrl url(QString::fromUtf8(text), QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != "file"_L1 || !url.path().startsWith(u'/'))
        return std::nullopt;
    return WorkingFolder{url.host(), url.path(QUrl::FullyDecoded)};
}

/// "parameters;address".
std::optional<Command> link(QByteArrayView text)
{
    const qsizetype split = text.indexOf(';');
    if (split < 0 || text.size() > longestAddress)
        return std::nullopt;
    const QString address = QString::fromUtf8(text.sliced(split + 1));
    if (std::any_of(address.begin(), address.end(), isControl))
        return std::nullopt;
    return Link{address};
}

/// "selection;base64"; a question mark asks for the content.
std::optional<Command> clipboard(QByteArrayView text)
{
    const qsizetype split = text.indexOf(';');
    if (split < 0 || split + 1 == text.size())
        return std::nullopt;
    const QByteArray encoded = text.sliced(split + 1).toByteArray();
    const auto decoded = QByteArray::fromBase64Encoding(encoded, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return ClipboardText{QString::fromUtf8(decoded.decoded)};
}

} // namespace

std::optional<Command> parse(QByteArrayView text)
{
    const qsizetype split = text.indexOf(';');
    if (split < 0)
        return std::nullopt;
    const QByteArrayView number = text.first(split);
    const QByteArrayView rest = text.sliced(split + 1);
    if (number == "0" || number == "2")
        return title(rest);
    if (number == "7")
        return workingFolder(rest);
    if (number == "8")
        return link(rest);
    if (number == "52")
        return clipboard(rest);
    if (number == "133" && (rest == "A" || rest.startsWith("A;")))
        return PromptStart{};
    return std::nullopt;
}

} // namespace moorix::TerminalCommands
