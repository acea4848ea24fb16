#include "Host/Http/RequestStrand.hpp"

#include <boost/asio/post.hpp>

// A strand is idle, busy (one task is in progress, others may wait) or closed. `mutex` guards these states and is never
// held while a task runs or a response is sent. The thread that ends a task makes the strand idle or posts the next
// task to the loop, so no thread ever waits for the strand, but in `Close` for the task in progress.

namespace Oxa::Host::Http
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::CallRecord;
using System::Commons::Diagnostics::Logging::LogLevel;

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

} // namespace

RequestStrand::RequestStrand(Threads::EventLoop& loop, BasicString name, std::size_t maximumWaiting,
                             FindProblem findProblem, std::chrono::milliseconds hangTime)
    : loop(loop),
      reserve(loop),
      record(std::move(name)),
      maximumWaiting(maximumWaiting),
      findProblem(findProblem),
      hangTime(hangTime),
      timer(loop.GetContext())
{
}

/// Null: the task has begun.
const Problem* RequestStrand::TryBegin(IHttpExchange& exchange)
{
    if (isClosed || isBusy)
    {
        return isClosed ? &Problems::serviceNotAvailable : &Problems::tooManyRequests;
    }
    Begin(exchange);
    return nullptr;
}

/// One timer for many tasks: when it expires it checks the one in progress, so that quick requests in a row start one
/// in each hang time.
void RequestStrand::Begin(IHttpExchange& exchange)
{
    // Before the timer starts, so that it never expires too early.
    begin = Clock::now();
    if (!isTimerStarted)
    {
        StartTimer(hangTime);
    }
    isBusy = true;
    current = &exchange;
    isHangReported = false;
}

void RequestStrand::StartTimer(Clock::duration delay)
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

void RequestStrand::Execute(IHttpExchange& exchange, const Task& task) noexcept
{
    try
    {
        const Threads::EventLoop::BlockingSection call(loop);
        RunTask(exchange, task);
    }
    catch (...)
    {
        // Not even the problem can be sent: this client gets no response, the others must.
    }
    Leave();
}

void RequestStrand::RunTask(IHttpExchange& exchange, const Task& task)
{
    try
    {
        const CallRecord::Scope call(record, exchange.GetRequest().path);
        task(exchange);
    }
    catch (const std::exception& exception)
    {
        const Problem* const problem = findProblem(exception);
        if (problem == nullptr)
        {
            FaultReport::Send(exchange, record.GetSubject());
            return;
        }
        Log(LogLevel::Warning, "{0}: {1}", record.GetSubject(), exception.what());
        SendProblem(exchange, *problem);
    }
    catch (...)
    {
        FaultReport::Send(exchange, record.GetSubject());
    }
}

/// Posts the next task, so that the response of this one is written first.
void RequestStrand::Leave() noexcept
{
    const MutexLock lock(mutex);
    if (isHangReported)
    {
        Log(LogLevel::Notice, "{0}: the request that hung has returned after {1} s", record.GetSubject(),
            ToSeconds(Clock::now() - begin).count());
    }
    while (!waiting.empty())
    {
        Waiting next = std::move(waiting.front());
        waiting.pop_front();
        try
        {
            Begin(*next.first);
            boost::asio::post(loop.GetContext(),
                              [self = shared_from_this(), next = std::move(next)]
                              {
                                  self->Execute(*next.first, next.second);
                                  next.first->Resume();
                              });
            return;
        }
        catch (...)
        {
            // Out of memory: this one's connection ends without a response, the strand goes on.
        }
    }
    isBusy = false;
    isHangReported = false;
    becameIdle.NotifyAll();
}

void RequestStrand::Close()
{
    std::deque<Waiting> refused;
    {
        const MutexLock lock(mutex);
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
