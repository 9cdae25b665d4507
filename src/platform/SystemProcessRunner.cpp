// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SystemProcessRunner.h"

#include "base/Error.h"
#include "platform/ChildProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>

namespace moorix {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto reportInterval = std::chrono::milliseconds(200);
/// How often to ask for the child's end where the system cannot tell it.
constexpr int askMilliseconds = 5;
/// What a child says in small pieces is read together: waking up for each of them takes time that the child needs, too.
constexpr int gatherMilliseconds = 2;
constexpr qsizetype smallPieceBytes = 4096;

/// One run: feeds the child, drains it and waits for its end, all through one poll.
class Run final
{
public:
    Run(const ProcessRequest &request, const std::stop_token &stop)
        : m_request(request)
        , m_stop(stop)
        , m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
        , m_child(request)
        , m_buffer(readSizeBytes, Qt::Uninitialized)
        , m_input(request.standardInput)
    {
        feed();
    }

    ProcessResult toTheEnd()
    {
        const std::stop_callback wake(m_stop, [this] { ::eventfd_write(m_wake.value(), 1); });
        // Waits for the process, never for the end of its output: a helper it leaves behind may keep the pipes open.
        while (!m_child.exit()) {
            waitForNews();
            if (m_stop.stop_requested()) {
                m_child.endGroup();
                throw Cancelled();
            }
            feed();
            const qsizetype said = drain(m_child.standardOutput(), m_result.standardOutput) +
                                   drain(m_child.standardError(), m_result.standardError);
            report();
            if (said > 0 && said < smallPieceBytes && !m_child.standardInput().isOpen())
                gather();
        }
        drainRest(m_child.standardOutput(), m_result.standardOutput);
        drainRest(m_child.standardError(), m_result.standardError);
        m_result.exitCode = m_child.exit()->code;
        m_result.crashed = m_child.exit()->crashed;
        return std::move(m_result);
    }

private:
    static constexpr qsizetype readSizeBytes = 64 * 1024;
    static constexpr int mostPiecesAtOnce = 16;

    void waitForNews()
    {
        std::array<pollfd, 5> descriptors{{{m_child.standardInput().value(), POLLOUT, 0},
                                           {m_child.standardOutput().value(), POLLIN, 0},
                                           {m_child.standardError().value(), POLLIN, 0},
                                           {m_child.exitDescriptor(), POLLIN, 0},
                                           {m_wake.value(), POLLIN, 0}}};
        int timeout = m_request.whileRunning ? int(reportInterval.count()) : -1;
        if (m_child.exitDescriptor() < 0)
            timeout = askMilliseconds;
        ::poll(descriptors.data(), descriptors.size(), timeout);
    }

    /// Lets the child say more, unless it ends or is to be stopped.
    void gather()
    {
        std::array<pollfd, 2> descriptors{{{m_child.exitDescriptor(), POLLIN, 0}, {m_wake.value(), POLLIN, 0}}};
        ::poll(descriptors.data(), descriptors.size(), gatherMilliseconds);
    }

    void feed()
    {
        FileDescriptor &input = m_child.standardInput();
        // Not for ever: somebody may want to stop, and what the child says has to be read.
        for (int piece = 0; input.isOpen() && (piece < mostPiecesAtOnce || !m_request.moreInput); ++piece) {
            if (m_fed == m_input.size() && !fetchInput()) {
                input.close();
                return;
            }
            const ssize_t count =
                ::write(input.value(), m_input.constData() + m_fed, std::size_t(m_input.size() - m_fed));
            if (count < 0 && errno == EAGAIN)
                return;
            if (count < 0 && errno != EINTR) {
                input.close(); // The child has stopped reading; what it does then is its own affair.
                return;
            }
            m_fed += std::max<ssize_t>(count, 0);
        }
    }

    /// False when there is no more.
    bool fetchInput()
    {
        m_fed = 0;
        m_input = m_request.moreInput ? m_request.moreInput() : QByteArray();
        return !m_input.isEmpty();
    }

    /// Reads what one read brings. Returns its size, 0 when there is nothing (any more).
    qsizetype drain(FileDescriptor &stream, QByteArray &into)
    {
        if (!stream.isOpen())
            return 0;
        const ssize_t count = ::read(stream.value(), m_buffer.data(), std::size_t(m_buffer.size()));
        const bool hasEnded = count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
        if (hasEnded)
            stream.close();
        if (count <= 0)
            return 0;
        if (m_request.takeOutput && &into == &m_result.standardOutput) {
            m_request.takeOutput(QByteArrayView(m_buffer.constData(), count));
            return count;
        }
        into.append(m_buffer.constData(), count);
        if (into.size() > m_request.outputLimitBytes) {
            m_child.endGroup();
            throw Error(QStringLiteral("Process"), QStringLiteral("“%1” printed more than %2 bytes and was ended.")
                                                       .arg(m_request.program)
                                                       .arg(m_request.outputLimitBytes));
        }
        return count;
    }

    /// Reads what the child, now gone, left in the pipe. Not until the pipe is empty: a helper may print for ever.
    void drainRest(FileDescriptor &stream, QByteArray &into)
    {
        qsizetype rest = stream.isOpen() ? ::fcntl(stream.value(), F_GETPIPE_SZ) : 0;
        while (rest > 0) {
            const qsizetype count = drain(stream, into);
            rest = count == 0 ? 0 : rest - count;
        }
    }

    void report()
    {
        if (!m_request.whileRunning || SteadyClock::now() - m_reported < reportInterval)
            return;
        m_reported = SteadyClock::now();
        m_request.whileRunning(m_child.id());
    }

    const ProcessRequest &m_request;
    const std::stop_token &m_stop;
    FileDescriptor m_wake;
    ChildProcess m_child;
    ProcessResult m_result;
    QByteArray m_buffer;
    /// What is being written, and how much of it is.
    QByteArray m_input;
    qsizetype m_fed = 0;
    SteadyClock::time_point m_reported = SteadyClock::now();
};

} // namespace

ProcessResult SystemProcessRunner::run(const ProcessRequest &request, const std::stop_token &stop)
{
    if (stop.stop_requested())
        throw Cancelled();
    return Run(request, stop).toTheEnd();
}

} // namespace moorix
