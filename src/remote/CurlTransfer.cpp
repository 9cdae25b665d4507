// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/CurlTransfer.h"

#include <algorithm>
#include <optional>

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

QList<FTPReply> repliesIn(const QByteArray &text)
{
    QList<FTPReply> replies;
    for (QByteArray line : text.split('\n')) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (const std::optional<FTPReply> reply = replyEndingIn(line))
            replies.append(*reply);
    }
    return replies;
}

} // namespace

FTPReply CurlTransfer::refusal() const
{
    return !replies.isEmpty() && replies.constLast().isRefusal() ? replies.constLast() : FTPReply();
}

/// curl writes what goes to standard error byte by byte, each with a call and a moment of the reader's; hence as little
/// as possible of it.
QByteArray CurlReport::format() const
{
    return "%{stdout}\n" + m_mark + "exit %{exitcode}\n" + m_mark + "path %{ftp_entry_path}\n" + m_mark +
           "preparation %{time_pretransfer}\n" + m_mark + "words %{errormsg}\n" + endOfResult() + "%{stderr}" +
           endOfReplies();
}

QByteArray CurlReport::endOfResult() const
{
    return m_mark + "end\n";
}

QByteArray CurlReport::endOfReplies() const
{
    return m_mark.left(8) + '\n';
}

QList<CurlTransfer> CurlReport::parse(const QByteArray &standardOutput, const QByteArray &standardError) const
{
    QList<CurlTransfer> transfers;
    const QByteArray result = '\n' + m_mark;
    qsizetype outputFrom = 0;
    qsizetype repliesFrom = 0;
    for (qsizetype stop; (stop = standardOutput.indexOf(result, outputFrom)) >= 0;) {
        CurlTransfer transfer;
        transfer.body = standardOutput.mid(outputFrom, stop - outputFrom);
        const qsizetype end = standardOutput.indexOf(endOfResult(), stop);
        if (end < 0)
            break;
        readResult(standardOutput.mid(stop + 1, end - stop - 1), transfer);
        outputFrom = end + endOfResult().size();
        qsizetype repliesTo = standardError.indexOf(endOfReplies(), repliesFrom);
        if (repliesTo < 0)
            repliesTo = standardError.size();
        transfer.replies = repliesIn(standardError.mid(repliesFrom, repliesTo - repliesFrom));
        repliesFrom = std::min(repliesTo + endOfReplies().size(), standardError.size());
        transfers.append(transfer);
    }
    return transfers;
}

void CurlReport::readResult(const QByteArray &text, CurlTransfer &transfer) const
{
    for (const QByteArray &line : text.split('\n')) {
        if (!line.startsWith(m_mark))
            continue;
        const QByteArray field = line.mid(m_mark.size());
        if (field.startsWith("exit "))
            transfer.exitCode = field.mid(5).toInt();
        else if (field.startsWith("path "))
            transfer.entryPath = field.mid(5);
        else if (field.startsWith("preparation "))
            transfer.preparation =
                std::chrono::round<std::chrono::microseconds>(std::chrono::duration<double>(field.mid(12).toDouble()));
        else if (field.startsWith("words "))
            transfer.words = field.mid(6);
    }
}

} // namespace moorix
