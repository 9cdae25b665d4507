// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/CurlTransfer.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace moorix {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The reply that the line ends, as curl sees it: of a reply of several lines only the last one has a blank behind its
/// code.
std::optional<FTPReply> replyEndingIn(const QByteArray &line)
{
    if (line.size() < 4 || line.at(3) != ' ' || !std::all_of(line.begin(), line.begin() + 3, isDigit))
        return std::nullopt;
    return FTPReply{line.left(3).toInt(), line.mid(4)};
}

} // namespace

FTPReply CurlTransfer::refusal() const
{
    return !replies.isEmpty() && replies.constLast().isRefusal() ? replies.constLast() : FTPReply();
}

QByteArray CurlReport::format() const
{
    return "%{stdout}\n" + m_mark + "\n%{stderr}\n" + m_mark + "exit %{exitcode}\n" + m_mark +
           "path %{ftp_entry_path}\n" + m_mark + "preparation %{time_pretransfer}\n" + m_mark + "words %{errormsg}\n";
}

QList<CurlTransfer> CurlReport::parse(const QByteArray &standardOutput, const QByteArray &standardError) const
{
    QList<CurlTransfer> transfers;
    QList<FTPReply> replies;
    const QList<QByteArray> lines = standardError.split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (!line.startsWith(m_mark)) {
            if (const std::optional<FTPReply> reply = replyEndingIn(line))
                replies.append(*reply);
            continue;
        }
        const QByteArray field = line.mid(m_mark.size());
        if (field.startsWith("exit ")) {
            transfers.append(CurlTransfer());
            transfers.last().exitCode = field.mid(5).toInt();
            transfers.last().replies = std::exchange(replies, {});
        } else if (!transfers.isEmpty() && field.startsWith("path ")) {
            transfers.last().entryPath = field.mid(5);
        } else if (!transfers.isEmpty() && field.startsWith("preparation ")) {
            transfers.last().preparation =
                std::chrono::round<std::chrono::microseconds>(std::chrono::duration<double>(field.mid(12).toDouble()));
        } else if (!transfers.isEmpty() && field.startsWith("words ")) {
            transfers.last().words = field.mid(6);
        }
    }
    const QByteArray end = '\n' + m_mark + '\n';
    qsizetype start = 0;
    for (CurlTransfer &transfer : transfers) {
        const qsizetype stop = standardOutput.indexOf(end, start);
        if (stop < 0)
            break;
        transfer.body = standardOutput.mid(start, stop - start);
        start = stop + end.size();
    }
    return transfers;
}

} // namespace moorix
