// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"
#include "platform/ProcessRunner.h"

#include <QList>

#include <mutex>

namespace moorix::test {

/// Notes what would have been run and answers with what the test says: by default like an `sftp` whose commands all
/// succeed in silence.
class FakeProcessRunner final : public ProcessRunner
{
public:
    using Answer = std::function<ProcessResult(const ProcessRequest &)>;

    static ProcessResult success(const QByteArray &standardOutput = {})
    {
        return {0, false, standardOutput + "sftp> quit\n", "Connected to host.\n"};
    }

    explicit FakeProcessRunner(Answer answer = [](const ProcessRequest &) { return success(); })
        : m_answer(std::move(answer))
    {
    }

    ProcessResult run(const ProcessRequest &request, const std::stop_token &stop) override
    {
        if (stop.stop_requested())
            throw Cancelled();
        {
            const std::lock_guard lock(m_mutex);
            m_requests << request;
        }
        return m_answer(request);
    }

    QList<ProcessRequest> requests() const
    {
        const std::lock_guard lock(m_mutex);
        return m_requests;
    }

private:
    Answer m_answer;
    mutable std::mutex m_mutex;
    QList<ProcessRequest> m_requests;
};

} // namespace moorix::test
