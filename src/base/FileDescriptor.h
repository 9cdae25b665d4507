// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <utility>

namespace moorix {

/// Owns one open file descriptor, or none (-1).
class FileDescriptor final
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() { close(); }

    bool isOpen() const { return m_descriptor >= 0; }
    int value() const { return m_descriptor; }
    /// Leaves the descriptor to the caller.
    int release() { return std::exchange(m_descriptor, -1); }
    /// The result of close(2): some file systems report a failed write only here.
    int close() { return isOpen() ? ::close(release()) : 0; }

private:
    int m_descriptor = -1;
};

} // namespace moorix
