// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PseudoTerminal.h"

#include "base/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace moorix {

namespace {

[[noreturn]] void failToOpen()
{
    throw Error(QStringLiteral("Terminal"),
                QStringLiteral("No terminal could be opened: %1").arg(systemErrorText(errno)));
}

winsize windowSize(int rows, int columns)
{
    constexpr int largest = 32767;
    winsize size{};
    size.ws_row = static_cast<unsigned short>(std::clamp(rows, 1, largest));
    size.ws_col = static_cast<unsigned short>(std::clamp(columns, 1, largest));
    return size;
}

/// A character of several bytes is erased whole at a prompt of the system's own.
void editWholeCharacters(int programEnd)
{
    termios modes{};
    if (::tcgetattr(programEnd, &modes) != 0)
        return;
    modes.c_iflag |= IUTF8;
    ::tcsetattr(programEnd, TCSANOW, &modes);
}

} // namespace

PseudoTerminal::PseudoTerminal(int rows, int columns)
    : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
{
    std::array<char, 128> name{};
    if (!m_master.isOpen() || ::grantpt(master()) != 0 || ::unlockpt(master()) != 0 ||
        ::ptsname_r(master(), name.data(), name.size()) != 0)
        failToOpen();
    m_programEnd = FileDescriptor(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!m_programEnd.isOpen())
        failToOpen();
    editWholeCharacters(programEnd());
    resize(rows, columns);
}

PseudoTerminal::Reading PseudoTerminal::read(std::span<char> buffer, qsizetype &count) const
{
    count = 0;
    while (std::size_t(count) < buffer.size()) {
        const ssize_t got = ::read(master(), buffer.data() + count, buffer.size() - std::size_t(count));
        if (got > 0)
            count += got;
        else if (got == 0 || (errno != EINTR && errno != EAGAIN))
            return count > 0 ? Reading::some : Reading::ended;
        else if (errno == EAGAIN)
            return count > 0 ? Reading::some : Reading::nothingYet;
    }
    return Reading::some;
}

qsizetype PseudoTerminal::write(QByteArrayView bytes) const
{
    qsizetype taken = 0;
    while (taken < bytes.size()) {
        const ssize_t count = ::write(master(), bytes.data() + taken, std::size_t(bytes.size() - taken));
        if (count > 0)
            taken += count;
        else if (count < 0 && errno != EINTR && errno != EAGAIN)
            return -1;
        else if (count == 0 || errno == EAGAIN)
            break;
    }
    return taken;
}

bool PseudoTerminal::dropInputBefore(char signalCharacter) const
{
    termios modes{};
    if (::tcgetattr(master(), &modes) != 0 || (modes.c_lflag & ISIG) == 0 || (modes.c_lflag & NOFLSH) != 0)
        return false;
    const auto character = static_cast<cc_t>(signalCharacter);
    if (character == _POSIX_VDISABLE ||
        (character != modes.c_cc[VINTR] && character != modes.c_cc[VQUIT] && character != modes.c_cc[VSUSP]))
        return false;
    // First what is on its way to the program's end, then what has come there.
    ::tcflush(master(), TCOFLUSH);
    const FileDescriptor peer(::ioctl(master(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (peer.isOpen())
        ::tcflush(peer.value(), TCIFLUSH);
    return true;
}

void PseudoTerminal::resize(int rows, int columns) const
{
    const winsize size = windowSize(rows, columns);
    ::ioctl(master(), TIOCSWINSZ, &size);
}

pid_t PseudoTerminal::foregroundGroup() const
{
    return ::tcgetpgrp(master());
}

} // namespace moorix
