// SPDX-License-Identifier: GPL-3.0-or-later
#include "terminal/PTYReader.h"

#include "base/Error.h"
#include "platform/PseudoTerminal.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>

namespace moorix {

namespace {

constexpr std::size_t pieceBytes = 64 * 1024;
/// One piece more may come on top.
constexpr std::size_t mostBytes = 256 * 1024;

FileDescriptor makeSignal()
{
    FileDescriptor signal(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!signal.isOpen())
        throw Error(QStringLiteral("Terminal"),
                    QStringLiteral("No terminal could be opened: %1").arg(systemErrorText(errno)));
    return signal;
}

void raise(const FileDescriptor &signal)
{
    ::eventfd_write(signal.value(), 1);
}

} // namespace

PTYReader::PTYReader(const PseudoTerminal &terminal)
    : m_terminal(terminal)
    , m_signal(makeSignal())
    , m_wakeUp(makeSignal())
{
    try {
        m_thread = std::thread(&PTYReader::run, this);
    } catch (const std::system_error &error) {
        throw Error(QStringLiteral("Terminal"),
                    QStringLiteral("No terminal could be opened: %1").arg(systemErrorText(error.code().value())));
    }
}

PTYReader::~PTYReader()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopped = true;
    }
    m_room.notify_one();
    raise(m_wakeUp);
    m_thread.join();
}

void PTYReader::take(std::vector<char> &bytes)
{
    bytes.clear();
    {
        const std::lock_guard lock(m_mutex);
        bytes.swap(m_bytes);
        m_isOver = m_hasLast && bytes.empty();
        if (bytes.empty()) {
            eventfd_t ignored;
            ::eventfd_read(m_signal.value(), &ignored);
        }
    }
    if (bytes.size() >= mostBytes)
        m_room.notify_one();
}

void PTYReader::readToEnd()
{
    {
        const std::lock_guard lock(m_mutex);
        m_readsToEnd = true;
    }
    raise(m_wakeUp);
}

void PTYReader::run()
{
    std::vector<char> piece(pieceBytes);
    while (true) {
        const bool readsToEnd = wait();
        qsizetype count = 0;
        const PseudoTerminal::Reading reading = m_terminal.read(piece, count);
        const bool isLast =
            reading == PseudoTerminal::Reading::ended || (reading == PseudoTerminal::Reading::nothingYet && readsToEnd);
        if (!put(piece.data(), std::size_t(count), isLast) || isLast)
            return;
    }
}

/// Until there may be something to read. Tells whether the program had ended before that.
bool PTYReader::wait()
{
    std::array<pollfd, 2> descriptors{{{m_terminal.master(), POLLIN, 0}, {m_wakeUp.value(), POLLIN, 0}}};
    ::poll(descriptors.data(), descriptors.size(), -1);
    const std::lock_guard lock(m_mutex);
    return m_readsToEnd;
}

/// False when nobody wants more.
bool PTYReader::put(const char *bytes, std::size_t count, bool isLast)
{
    std::unique_lock lock(m_mutex);
    m_room.wait(lock, [this] { return m_isStopped || m_bytes.size() < mostBytes; });
    if (m_isStopped)
        return false;
    if (m_bytes.empty() && (count > 0 || isLast))
        raise(m_signal);
    m_bytes.insert(m_bytes.end(), bytes, bytes + count);
    m_hasLast = isLast;
    return true;
}

} // namespace moorix
