// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>

#include <functional>
#include <optional>
#include <stop_token>

namespace moorix {

/// Whether what a child says on standard error comes apart from its standard output, or within it, in true order.
enum class ErrorOutput { apart, withinOutput };

/// One child process to run to its end. Nothing secret may be in `arguments` or `environment`.
struct ProcessRequest
{
    QString program;
    QStringList arguments;
    /// The program's own environment when absent.
    std::optional<QProcessEnvironment> environment;
    ErrorOutput errorOutput = ErrorOutput::apart;
    /// Written in one go; the pipe is then closed.
    QByteArray standardInput;
    /// Asked for more on the running thread whenever the child has taken the input so far; nothing more is the end. May
    /// throw, which ends the child.
    std::function<QByteArray()> moreInput;
    /// Takes standard output as it comes, on the running thread; the result then holds none of it. May throw, which
    /// ends the child.
    std::function<void(QByteArrayView)> takeOutput;
    /// A child that prints more than this on one stream is ended and the run fails.
    qint64 outputLimitBytes = qint64(512) * 1024 * 1024;
    /// Called about every 200 ms on the running thread with the child's process id.
    std::function<void(qint64 processId)> whileRunning;
};

struct ProcessResult
{
    /// The exit code, or the signal's number when `crashed`.
    int exitCode = 0;
    /// Ended by a signal rather than by itself.
    bool crashed = false;
    QByteArray standardOutput;
    QByteArray standardError;
};

/// Runs child processes. Blocking; for worker threads; safe to call from several at once.
class ProcessRunner
{
public:
    virtual ~ProcessRunner() = default;

    /// Returns once the child itself has exited, however it did; grandchildren may still hold its pipes open.
    /// Throws an Error when it cannot be started or prints too much, and Cancelled after a stop, when the child and
    /// all of its process group are gone.
    virtual ProcessResult run(const ProcessRequest &request, const std::stop_token &stop) = 0;
};

} // namespace moorix
