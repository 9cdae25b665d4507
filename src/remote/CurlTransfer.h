// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>

#include <chrono>

namespace moorix {

/// The last line of one reply of an FTP server: "550 No such file".
struct FTPReply
{
    int code = 0;
    /// Without the code, in the server's own bytes.
    QByteArray text;

    bool isRefusal() const { return code >= 400; }
};

/// How one URL of a curl run ended.
struct CurlTransfer
{
    /// curl's own, 0 for success.
    int exitCode = 0;
    /// What came on standard output.
    QByteArray body;
    /// Of the whole conversation about this URL, in order.
    QList<FTPReply> replies;
    /// The folder the login opened on; empty when the server did not say.
    QByteArray entryPath;
    /// From the start until bytes could move: on a standing connection the time of the commands before that.
    std::chrono::microseconds preparation{0};
    /// What curl says about its failure.
    QByteArray words;

    /// The last reply, if it refuses something, else code 0: curl goes on past refusals that have nothing to do with
    /// its failure.
    FTPReply refusal() const;
    int lastCode() const { return replies.isEmpty() ? 0 : replies.constLast().code; }
};

/// What curl prints at the end of each URL so that its output can be taken apart. The mark is random for each run, so
/// that no server can forge it.
class CurlReport final
{
public:
    explicit CurlReport(QByteArray mark)
        : m_mark(std::move(mark))
    {
    }

    /// For curl's option `write-out`.
    QByteArray format() const;
    /// Empty when curl gave up before the first URL.
    QList<CurlTransfer> parse(const QByteArray &standardOutput, const QByteArray &standardError) const;

private:
    QByteArray endOfResult() const;
    QByteArray endOfReplies() const;
    void readResult(const QByteArray &text, CurlTransfer &transfer) const;

    QByteArray m_mark;
};

} // namespace moorix
