#pragma once

#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/IHttpHandler.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace Oxa::Host::Http
{

/// Runs tasks that call foreign code and answer a request, never two at the same time. A task that finds the strand
/// idle runs at once on the calling thread; others wait, up to a bound. What a task throws is logged once and becomes a
/// problem: 502, 503 or 504 for a fault of the remote service call layer, else 500 with a request id, which the log
/// names as well. A task that hangs is logged, and again when it returns. Threads: safe from any thread of the event
/// loop; `Close` from any.
class RequestStrand final : public std::enable_shared_from_this<RequestStrand>,
                            private System::Commons::Diagnostics::Logging::Loggable<RequestStrand>
{
public:
    using Task = std::function<void(IHttpExchange&)>;

    /// A task that has lasted for the hang time.
    struct HangingTask
    {
        /// Of the request.
        BasicString path;
        std::chrono::seconds duration;
    };

    /// `name` is for the log. `hangTime`: by default longer than a call of a service may take, but for commands.
    RequestStrand(Threads::EventLoop& loop, BasicString name, std::size_t maximumWaiting,
                  std::chrono::milliseconds hangTime = std::chrono::seconds(5));
    RequestStrand(const RequestStrand&) = delete;
    RequestStrand& operator=(const RequestStrand&) = delete;
    ~RequestStrand();

    /// `task(exchange)` calls the exchange's `Send`. Over the bound the answer is 503.
    template <class F>
    [[nodiscard]] Handling Run(const std::shared_ptr<IHttpExchange>& exchange, F&& task)
    {
        if (TryEnter(*exchange))
        {
            const Visit visit(*this);
            Execute(*exchange, task);
            return Handling::Answered;
        }
        return Enqueue(exchange, Task(std::forward<F>(task)));
    }

    /// Refuses what waits and what comes, and returns when no task is under way.
    void Close();

    /// The task under way when it hangs. Any thread.
    [[nodiscard]] std::optional<HangingTask> FindHangingTask() const;

private:
    using Clock = std::chrono::steady_clock;
    using Waiting = std::pair<std::shared_ptr<IHttpExchange>, Task>;

    /// Leaves a strand that was entered.
    class Visit final
    {
    public:
        explicit Visit(RequestStrand& strand) noexcept : strand(strand) {}

        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

        ~Visit()
        {
            strand.Leave();
        }

    private:
        RequestStrand& strand;
    };

    [[nodiscard]] bool TryEnter(IHttpExchange& exchange);
    void BeginTask(IHttpExchange& exchange) noexcept;
    void EnsureTimer() noexcept;
    void StartTimer(Clock::duration delay) noexcept;
    void CheckTask();
    void ReportReturn(Clock::duration duration) const;
    [[nodiscard]] Handling Enqueue(const std::shared_ptr<IHttpExchange>& exchange, Task task);
    void Leave() noexcept;
    [[nodiscard]] std::optional<Waiting> TakeNext();
    void PostNext(Waiting next);

    // Refers to the task instead of making a `Task` of it: a request that runs at once needs no allocation for it.
    template <class F>
    void Execute(IHttpExchange& exchange, const F& task)
    {
        const Threads::EventLoop::BlockingSection call(loop);
        ExecuteGuarded(
            exchange, [](const void* function, IHttpExchange& each) { (*static_cast<const F*>(function))(each); },
            &task);
    }

    void ExecuteGuarded(IHttpExchange& exchange, void (*invoke)(const void*, IHttpExchange&),
                        const void* function) noexcept;
    void ExecuteOrAnswerFault(IHttpExchange& exchange, void (*invoke)(const void*, IHttpExchange&),
                              const void* function);

    Threads::EventLoop& loop;
    const Threads::EventLoop::Reserve reserve;
    System::Commons::Diagnostics::CallRecord record;
    const std::size_t maximumWaiting;
    const std::chrono::milliseconds hangTime;
    mutable System::Commons::Mutex mutex;
    System::Commons::ConditionVariable becameIdle;
    bool isBusy = false;
    bool isClosed = false;
    std::deque<Waiting> waiting;

    /// Of the task under way. Never null while the strand is busy.
    IHttpExchange* current = nullptr;
    Clock::time_point begin;
    bool isHangReported = false;
    bool isTimerStarted = false;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host::Http
