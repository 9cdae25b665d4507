// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Job.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThreadPool>

#include <list>
#include <mutex>

namespace moorix {

namespace {

/// The pool and the stop sources of all that runs or waits in it.
class WorkerPool final
{
public:
    WorkerPool() { m_pool.setMaxThreadCount(64); }

    void start(std::stop_source source, std::function<void()> task)
    {
        const std::lock_guard lock(m_mutex);
        const auto place = m_running.insert(m_running.end(), std::move(source));
        m_pool.start([this, place, task = std::move(task)]() mutable {
            task();
            task = nullptr;
            const std::lock_guard inner(m_mutex);
            m_running.erase(place);
        });
    }

    bool stopAll(std::chrono::milliseconds patience)
    {
        std::list<std::stop_source> running;
        {
            const std::lock_guard lock(m_mutex);
            running = m_running;
        }
        for (std::stop_source &source : running)
            source.request_stop();
        return m_pool.waitForDone(int(patience.count()));
    }

private:
    QThreadPool m_pool;
    std::mutex m_mutex;
    std::list<std::stop_source> m_running;
};

WorkerPool &workerPool()
{
    // Never destroyed: work that does not end in time must still find its pool while the process exits.
    static WorkerPool *pool = new WorkerPool;
    return *pool;
}

} // namespace

Job::Job(std::stop_source source)
    : m_source(std::move(source))
{
}

Job &Job::operator=(Job &&other) noexcept
{
    if (this != &other) {
        cancel();
        m_source = std::exchange(other.m_source, std::nullopt);
    }
    return *this;
}

Job::~Job()
{
    cancel();
}

void Job::cancel()
{
    if (m_source)
        m_source->request_stop();
    m_source.reset();
}

void Job::detach()
{
    m_source.reset();
}

void onMain(std::function<void()> function)
{
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(function), Qt::QueuedConnection);
}

bool stopAllWork(std::chrono::milliseconds patience)
{
    return workerPool().stopAll(patience);
}

void detail::runOnPool(std::stop_source source, std::function<void()> task)
{
    workerPool().start(std::move(source), std::move(task));
}

void detail::deliverFailure(const std::exception_ptr &error, const std::function<void(const Error &)> &failed)
{
    try {
        std::rethrow_exception(error);
    } catch (const Error &known) {
        failed(known);
    } catch (const std::exception &other) {
        failed(Error(QStringLiteral("Moorix"),
                     QStringLiteral("Something failed inside the program: %1").arg(QString::fromUtf8(other.what()))));
    } catch (...) {
        failed(Error(QStringLiteral("Moorix"), QStringLiteral("Something failed inside the program.")));
    }
}

} // namespace moorix
