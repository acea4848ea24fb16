#include "Host/Http/RequestStrand.hpp"

#include "Host/Http/FaultReport.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <boost/asio/post.hpp>

#include <utility>

namespace Oxa::Host::Http
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::CallRecord;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;

namespace
{

constexpr std::size_t maximumLoggedBytes = 128;

std::chrono::seconds ToSeconds(std::chrono::steady_clock::duration duration)
{
    return std::chrono::duration_cast<std::chrono::seconds>(duration);
}

BasicString GetLoggedPath(const IHttpExchange& exchange)
{
    return BasicString(System::Commons::Text::Truncate(exchange.GetRequest().path, maximumLoggedBytes));
}

const Problem& GetProblem(RscFault fault) noexcept
{
    switch (fault)
    {
    case RscFault::TimedOut:
        return Problems::serviceTimeout;
    case RscFault::ConnectionLost:
        return Problems::serviceLost;
    case RscFault::InvalidResponse:
        return Problems::invalidServiceResponse;
    case RscFault::Refused:
        return Problems::serviceRefused;
    default:
        return Problems::serviceNotAvailable;
    }
}

} // namespace

RequestStrand::RequestStrand(Threads::EventLoop& loop, BasicString name, std::size_t maximumWaiting,
                             std::chrono::milliseconds hangTime)
    : loop(loop),
      reserve(loop),
      record(std::move(name)),
      maximumWaiting(maximumWaiting),
      hangTime(hangTime),
      timer(loop.GetContext())
{
}

RequestStrand::~RequestStrand() = default;

bool RequestStrand::TryEnter(IHttpExchange& exchange)
{
    const MutexLock lock(mutex);
    if (isBusy || isClosed)
    {
        return false;
    }
    BeginTask(exchange);
    EnsureTimer();
    return true;
}

/// Requires: the mutex is held.
void RequestStrand::BeginTask(IHttpExchange& exchange) noexcept
{
    isBusy = true;
    current = &exchange;
    begin = Clock::now();
    isHangReported = false;
}

/// One timer for many tasks: it looks at the one that is under way when it ends, so that quick requests in a row set
/// one in each hang time. Requires: the mutex is held, on the thread that runs the loop.
void RequestStrand::EnsureTimer() noexcept
{
    if (!isTimerStarted)
    {
        StartTimer(hangTime);
    }
}

void RequestStrand::StartTimer(Clock::duration delay) noexcept
{
    try
    {
        timer.expires_after(delay);
        timer.async_wait(
            [weak = weak_from_this()](const boost::system::error_code& /*error*/)
            {
                if (const auto self = weak.lock())
                {
                    self->CheckTask();
                }
            });
        isTimerStarted = true;
    }
    catch (...)
    {
        // Out of memory: the next request tries again.
    }
}

void RequestStrand::CheckTask()
{
    const MutexLock lock(mutex);
    isTimerStarted = false;
    if (!isBusy)
    {
        return;
    }
    const auto duration = Clock::now() - begin;
    if (duration < hangTime)
    {
        StartTimer(hangTime - duration);
        return;
    }
    isHangReported = true;
    Log(LogLevel::Warning, "{0}: the request '{1}' has lasted {2} s and is still in progress", record.GetSubject(),
        GetLoggedPath(*current), ToSeconds(duration).count());
}

void RequestStrand::ReportReturn(Clock::duration duration) const
{
    Log(LogLevel::Notice, "{0}: the request that hung has returned after {1} s", record.GetSubject(),
        ToSeconds(duration).count());
}

std::optional<RequestStrand::HangingTask> RequestStrand::FindHangingTask() const
{
    const MutexLock lock(mutex);
    const auto duration = Clock::now() - begin;
    if (!isBusy || duration < hangTime)
    {
        return std::nullopt;
    }
    return HangingTask{GetLoggedPath(*current), ToSeconds(duration)};
}

Handling RequestStrand::Enqueue(const std::shared_ptr<IHttpExchange>& exchange, Task task)
{
    {
        MutexLock lock(mutex);
        if (isClosed || waiting.size() >= maximumWaiting)
        {
            const auto& problem = isClosed ? Problems::serviceNotAvailable : Problems::tooManyRequests;
            lock.Unlock();
            SendProblem(*exchange, problem);
            return Handling::Answered;
        }
        if (isBusy)
        {
            waiting.emplace_back(exchange, std::move(task));
            return Handling::Deferred;
        }
        BeginTask(*exchange);
        EnsureTimer();
    }
    // It became idle a moment ago.
    const Visit visit(*this);
    Execute(*exchange, task);
    return Handling::Answered;
}

void RequestStrand::Leave() noexcept
{
    while (auto next = TakeNext())
    {
        try
        {
            PostNext(std::move(*next));
            return;
        }
        catch (...)
        {
            // Out of memory: this one's connection ends without an answer, the strand goes on.
        }
    }
}

/// Empty: the strand is idle.
std::optional<RequestStrand::Waiting> RequestStrand::TakeNext()
{
    const MutexLock lock(mutex);
    if (isHangReported)
    {
        ReportReturn(Clock::now() - begin);
    }
    if (waiting.empty())
    {
        isBusy = false;
        isHangReported = false;
        becameIdle.NotifyAll();
        return std::nullopt;
    }
    std::optional<Waiting> next = std::move(waiting.front());
    waiting.pop_front();
    BeginTask(*next->first);
    return next;
}

/// Not at once: the answer of the request before it is to go out first.
void RequestStrand::PostNext(Waiting next)
{
    boost::asio::post(loop.GetContext(),
                      [self = shared_from_this(), next = std::move(next)]() mutable
                      {
                          {
                              const MutexLock lock(self->mutex);
                              self->EnsureTimer();
                          }
                          {
                              const Visit visit(*self);
                              self->Execute(*next.first, next.second);
                          }
                          next.first->Resume();
                      });
}

void RequestStrand::ExecuteGuarded(IHttpExchange& exchange, void (*invoke)(const void*, IHttpExchange&),
                                   const void* function) noexcept
{
    try
    {
        ExecuteOrAnswerFault(exchange, invoke, function);
    }
    catch (...)
    {
        // The fault cannot even be told: this client waits in vain, the others must not.
    }
}

void RequestStrand::ExecuteOrAnswerFault(IHttpExchange& exchange, void (*invoke)(const void*, IHttpExchange&),
                                         const void* function)
{
    try
    {
        const CallRecord::Scope call(record, exchange.GetRequest().path);
        invoke(function, exchange);
    }
    catch (const RscServiceException& exception)
    {
        Log(LogLevel::Warning, "{0}: {1}", record.GetSubject(), exception.what());
        SendProblem(exchange, GetProblem(exception.GetFault()));
    }
    catch (...)
    {
        FaultReport::Answer(exchange, record.GetSubject());
    }
}

void RequestStrand::Close()
{
    std::deque<Waiting> refused;
    {
        MutexLock lock(mutex);
        isClosed = true;
        refused.swap(waiting);
        while (isBusy)
        {
            becameIdle.Wait(mutex);
        }
    }
    for (Waiting& each : refused)
    {
        boost::asio::post(loop.GetContext(),
                          [exchange = std::move(each.first)]
                          {
                              SendProblem(*exchange, Problems::serviceNotAvailable);
                              exchange->Resume();
                          });
    }
}

} // namespace Oxa::Host::Http
