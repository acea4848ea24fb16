#pragma once

#include "Host/Http/IHttpExchange.hpp"
#include "Host/Http/IHttpHandler.hpp"
#include "Host/Threads/EventLoop.hpp"
#include "Oxa/System/Commons/Diagnostics/CrashReport.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <condition_variable>
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
/// names as well. Threads: safe from any thread of the event loop; `Close` from any.
class RequestStrand final : public std::enable_shared_from_this<RequestStrand>,
                            private System::Commons::Diagnostics::Logging::Loggable<RequestStrand>
{
public:
    using Task = std::function<void(IHttpExchange&)>;

    /// `name` is for the log.
    RequestStrand(Threads::EventLoop& loop, BasicString name, std::size_t maximumWaiting);
    RequestStrand(const RequestStrand&) = delete;
    RequestStrand& operator=(const RequestStrand&) = delete;
    ~RequestStrand();

    /// `task(exchange)` calls the exchange's `Send`. Over the bound the answer is 503.
    template <class F>
    [[nodiscard]] Handling Run(const std::shared_ptr<IHttpExchange>& exchange, F&& task)
    {
        if (TryEnter())
        {
            const Visit visit(*this);
            Execute(*exchange, task);
            return Handling::Answered;
        }
        return Enqueue(exchange, Task(std::forward<F>(task)));
    }

    /// Refuses what waits and what comes, and returns when no task is under way.
    void Close();

private:
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

    [[nodiscard]] bool TryEnter();
    [[nodiscard]] Handling Enqueue(const std::shared_ptr<IHttpExchange>& exchange, Task task);
    void Leave() noexcept;
    [[nodiscard]] std::optional<Waiting> TakeNext();
    void PostNext(Waiting next);

    // Refers to the task instead of making a `Task` of it: a request that runs at once needs no allocation for it.
    template <class F>
    void Execute(IHttpExchange& exchange, const F& task)
    {
        const Threads::EventLoop::ForeignCall call(loop);
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
    System::Commons::Mutex mutex;
    std::condition_variable becameIdle;
    bool isBusy = false;
    bool isClosed = false;
    std::deque<Waiting> waiting;
};

} // namespace Oxa::Host::Http
