// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QStringList>

namespace moorix {

/// What really became of an `sftp` batch that exited with code 0. The client ignores the failure of its commands when
/// they come through a pipe, so what it printed has to be judged: everything on standard error after the line
/// "Connected to …" is a failure unless it is known to be harmless.
struct SFTPOutcome
{
    /// With "-r" the client goes on past links and special files; those are then told apart from failures.
    enum class OddItems { fail, areSkipped };
    enum class Kind {
        succeeded,
        /// What the command was to act on is not there on the far side.
        missing,
        failed
    };

    Kind kind = Kind::succeeded;
    /// The client's own lines about failures, readable; empty on success.
    QString words;
    /// The last line's reason, such as "Permission denied"; empty when it has none.
    QString reason;
    /// The client's lines about items it has left out.
    QStringList skipped;

    static SFTPOutcome classify(const QByteArray &standardOutput, const QByteArray &standardError, OddItems oddItems);
};

namespace SFTPText {

/// What a client that prints everything on one stream says to each of its commands, in their order; the first command's
/// comes first. Fewer when it has not come to the others.
QList<QByteArray> answers(const QByteArray &output);
/// Counts what `answers` would return, while the output comes in pieces of any size.
class AnswerCount final
{
public:
    void feed(QByteArrayView bytes);
    qsizetype count() const { return m_count; }

private:
    /// As far as it has come.
    QByteArray m_line;
    bool m_isConnected = false;
    qsizetype m_count = 0;
};
/// The lines among them that are about failures, or may be: not what the client tells of its work.
QByteArray withoutChatter(const QByteArray &answer);
/// Text of standard error with the client's escapes (\303\274, \\) undone.
QString decoded(const QByteArray &line);
/// The lines of standard error, without line ends, blanks around them, and empty ones.
QList<QByteArray> lines(const QByteArray &standardError);
/// Whether the client says with this line that the session stands; what comes before is no part of a command's result.
bool isConnectedLine(const QByteArray &line);
/// Standard output without the echoed commands.
QString result(const QByteArray &standardOutput);

} // namespace SFTPText

} // namespace moorix
