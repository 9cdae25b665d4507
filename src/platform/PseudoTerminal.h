// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/FileDescriptor.h"

#include <QByteArray>

#include <sys/types.h>

#include <span>

namespace moorix {

/// The pair of ends that stands for a terminal: a program talks to the one, we read and write the other, the master.
class PseudoTerminal final
{
public:
    /// Throws an Error when the system has none to give.
    PseudoTerminal(int rows, int columns);

    /// Our end; never blocks.
    int master() const { return m_master.value(); }
    /// The program's end, for the child that is started on it.
    int programEnd() const { return m_programEnd.value(); }
    /// Closes our copy of the program's end: when the last program has gone, reading ends.
    void closeProgramEnd() { m_programEnd.close(); }

    enum class Reading { some, nothingYet, ended };
    /// Reads what is there into `buffer`, up to its size. The system hands out at most 4 KiB at once.
    Reading read(std::span<char> buffer, qsizetype &count) const;
    /// How many of these bytes the terminal took; 0 while the program does not read. -1 when there is no program.
    qsizetype write(QByteArrayView bytes) const;
    /// Whether the terminal turns this character into a signal. What the program has not read is dropped then, as the
    /// system itself does where there is room for the character: so it does not wait behind a text that nobody reads.
    bool dropInputBefore(char signalCharacter) const;
    /// Tells the program about its new size.
    void resize(int rows, int columns) const;
    /// The process group that has the keyboard, or -1.
    pid_t foregroundGroup() const;

private:
    FileDescriptor m_master;
    FileDescriptor m_programEnd;
};

} // namespace moorix
