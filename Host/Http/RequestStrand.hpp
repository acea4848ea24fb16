#pragma once

#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Http/HttpExchange.hpp"
#include "Host/Http/Problem.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace Oxa::Host::Http
{

/// Runs tasks that call foreign code and respond to a request, never two at the same time. A task that finds the strand
/// idle runs at once on the calling thread; others wait, up to a bound for all clients and one for each, where a
/// session or an address without one counts as a client. Clients take turns: one with many requests delays another one
/// by the task in progress at most. When all places to wait are taken, the request of the client with the most of them
/// is refused. What a task throws is logged once and becomes the problem that `FindProblem` tells, else 500 with a
/// request id, which the log names as well. A task that hangs is logged, and again when it returns. Threads: safe from
/// any thread of the event loop; `Close` from any.
class RequestStrand final : public std::enable_shared_from_this<RequestStrand>,
                            private System::Commons::Diagnostics::Logging::Loggable<RequestStrand>
{
public:
    using Task = std::function<void(IHttpExchange&)>;
    /// Null for an exception that is an internal error.
    using FindProblem = const Problem* (*)(const std::exception&) noexcept;

    /// A task that has lasted for the hang time.
    struct HangingTask
    {
        /// Of the request.
        BasicString path;
        std::chrono::seconds duration;
    };

    /// `name` is for the log. `hangTime`: by default longer than a call of a service may take, except for commands.
    RequestStrand(Threads::EventLoop& loop, BasicString name, const Configuration::WaitingLimits& limits,
                  FindProblem findProblem, std::chrono::milliseconds hangTime = std::chrono::seconds(5));
    RequestStrand(const RequestStrand&) = delete;
    RequestStrand& operator=(const RequestStrand&) = delete;

    /// `task(exchange)` calls the exchange's `Send`. Over the bound the response is 503.
    template <class F>
    [[nodiscard]] Handling Run(const std::shared_ptr<IHttpExchange>& exchange, F task)
    {
        const Problem* refusal = nullptr;
        {
            const System::Commons::MutexLock lock(mutex);
            if (isBusy && !isClosed && TryMakeRoom(exchange->GetClientId()))
            {
                Wait(exchange, std::move(task));
                return Handling::Deferred;
            }
            refusal = TryBegin(*exchange);
        }
        if (refusal != nullptr)
        {
            return SendProblem(*exchange, *refusal);
        }
        // A `Task` that holds only a reference needs no allocation.
        Execute(*exchange, std::ref(task));
        return Handling::Completed;
    }

    /// Refuses what waits and what comes, and returns when no task is in progress.
    void Close();

    /// The task in progress when it hangs. Any thread.
    [[nodiscard]] std::optional<HangingTask> FindHangingTask() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Waiting
    {
        std::shared_ptr<IHttpExchange> exchange;
        Task task;
        uint64 clientId = 0;
        /// How many tasks of the client come before it, in progress or waiting.
        std::size_t rank = 0;
    };

    [[nodiscard]] std::size_t CountTasks(uint64 clientId) const OXA_REQUIRES(mutex);
    [[nodiscard]] bool TryMakeRoom(uint64 clientId) OXA_REQUIRES(mutex);
    void Wait(std::shared_ptr<IHttpExchange> exchange, Task task) OXA_REQUIRES(mutex);
    [[nodiscard]] Waiting TakeNext() OXA_REQUIRES(mutex);
    void Refuse(std::shared_ptr<IHttpExchange> exchange, const Problem& problem);
    [[nodiscard]] const Problem* TryBegin(IHttpExchange& exchange) OXA_REQUIRES(mutex);
    void Begin(IHttpExchange& exchange) OXA_REQUIRES(mutex);
    void StartTimer(Clock::duration delay) OXA_REQUIRES(mutex);
    void CheckTask();
    void Execute(IHttpExchange& exchange, const Task& task) noexcept;
    void RunTask(IHttpExchange& exchange, const Task& task);
    void Leave() noexcept;

    Threads::EventLoop& loop;
    const Threads::EventLoop::Reserve reserve;
    System::Commons::Diagnostics::CallRecord record;
    const Configuration::WaitingLimits limits;
    const FindProblem findProblem;
    const std::chrono::milliseconds hangTime;

    mutable System::Commons::Mutex mutex;
    System::Commons::ConditionVariable becameIdle;
    bool isBusy OXA_GUARDED_BY(mutex) = false;
    bool isClosed OXA_GUARDED_BY(mutex) = false;
    /// In the order in which they are to run, so by rank.
    std::deque<Waiting> waiting OXA_GUARDED_BY(mutex);
    /// Of the task in progress. Never null while the strand is busy.
    IHttpExchange* current OXA_GUARDED_BY(mutex) = nullptr;
    uint64 currentClientId OXA_GUARDED_BY(mutex) = 0;
    Clock::time_point begin OXA_GUARDED_BY(mutex);
    bool isHangReported OXA_GUARDED_BY(mutex) = false;
    bool isTimerStarted OXA_GUARDED_BY(mutex) = false;
    boost::asio::steady_timer timer OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::Host::Http
