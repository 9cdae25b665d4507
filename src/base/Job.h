// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Error.h"

#include <chrono>
#include <concepts>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <variant>

namespace moorix {

/// Owns one piece of background work. Destroying, replacing or cancelling it asks the work to stop and drops its
/// outcome: neither `done` nor `failed` runs any more. Main thread only.
class Job final
{
public:
    Job() = default;
    explicit Job(std::stop_source source);
    Job(Job &&other) noexcept = default;
    Job &operator=(Job &&other) noexcept;
    ~Job();

    void cancel();
    /// Lets the work run to its end and its outcome be delivered although nobody owns it any more.
    void detach();

private:
    std::optional<std::stop_source> m_source;
};

/// Runs `function` on the main thread, later, from any thread. Dropped once the application object is gone.
void onMain(std::function<void()> function);

/// Asks all running work to stop and waits for it, at most `patience`. Returns whether everything ended.
/// Called once, by main(), after the objects that started the work are gone.
bool stopAllWork(std::chrono::milliseconds patience);

namespace detail {
/// Queues `task` on the system's own pool (64 threads, so that many waiting servers never hold up a listing).
void runOnPool(std::stop_source source, std::function<void()> task);
/// Rethrows `error` into `failed` as an Error; what is not one becomes one.
void deliverFailure(const std::exception_ptr &error, const std::function<void(const Error &)> &failed);

template <class Result>
using Stored = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;

template <class Work, class Done>
struct JobState
{
    using Result = std::invoke_result_t<Work, std::stop_token>;

    Work work;
    Done done;
    std::function<void(const Error &)> failed;
    std::optional<Stored<Result>> value;
    std::exception_ptr error;

    void run(const std::stop_token &stop)
    {
        try {
            if constexpr (std::is_void_v<Result>) {
                work(stop);
                value.emplace();
            } else {
                value.emplace(work(stop));
            }
        } catch (...) {
            error = std::current_exception();
        }
    }

    void deliver()
    {
        if (error)
            deliverFailure(error, failed);
        else if constexpr (std::is_void_v<Result>)
            done();
        else
            done(std::move(*value));
    }
};
} // namespace detail

/// The one way from the main thread to work that may take time.
///
/// `work(std::stop_token)` runs on a pool thread, returns a value or throws. It must capture values and shared_ptrs
/// only, never `this`: it may outlive whoever started it. `done(value)` or `failed(const Error &)` runs on the main
/// thread, and neither runs once the returned Job is gone, so both may capture `this` of the Job's owner. What the
/// three capture is destroyed on the main thread.
template <class Work, class Done>
[[nodiscard]] Job runJob(Work work, Done done, std::function<void(const Error &)> failed)
{
    std::stop_source source;
    auto state = std::make_shared<detail::JobState<Work, Done>>(
        detail::JobState<Work, Done>{std::move(work), std::move(done), std::move(failed), std::nullopt, nullptr});
    detail::runOnPool(source, [state = std::move(state), stop = source.get_token()]() mutable {
        state->run(stop);
        onMain([state = std::move(state), stop] {
            if (!stop.stop_requested())
                state->deliver();
        });
    });
    return Job(std::move(source));
}

namespace detail {
template <class Answer>
struct Question
{
    std::promise<Answer> promise;
    bool isAnswered = false;
};
} // namespace detail

/// Called by work on a pool thread: runs `question` on the main thread and waits for its answer. The question gets
/// a function to call with the answer, at once or later (an inline question is answered by a click); further calls
/// do nothing. Throws Cancelled when the stop token is triggered first, or when nobody can answer any more because
/// every copy of that function is gone.
template <class Answer>
Answer askMain(const std::stop_token &stop, std::function<void(std::function<void(Answer)>)> question)
{
    auto asked = std::make_shared<detail::Question<Answer>>();
    auto future = asked->promise.get_future();
    onMain([asked = std::move(asked), stop, question = std::move(question)] {
        if (stop.stop_requested())
            return;
        question([asked](Answer answer) {
            if (!std::exchange(asked->isAnswered, true))
                asked->promise.set_value(std::move(answer));
        });
    });
    while (future.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
        if (stop.stop_requested())
            throw Cancelled();
    }
    try {
        return future.get();
    } catch (const std::future_error &) {
        throw Cancelled();
    }
}

} // namespace moorix
