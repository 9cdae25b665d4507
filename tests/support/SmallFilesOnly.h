// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

namespace moorix::test {

/// No file becomes larger than 64 KiB meanwhile, as on a disk that is nearly full.
class SmallFilesOnly
{
public:
    SmallFilesOnly()
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{65536, m_before.rlim_max};
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    Q_DISABLE_COPY_MOVE(SmallFilesOnly)
    ~SmallFilesOnly()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before = {};
    void (*m_handler)(int) = nullptr;
};

} // namespace moorix::test
