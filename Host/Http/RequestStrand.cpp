#include "Host/Http/RequestStrand.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <cstddef>

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

RequestStrand::RequestStrand(Threads::EventLoop& loop, BasicString name, const Configuration::WaitingLimits& limits,
                             FindProblem findProblem, std::chrono::milliseconds hangTime)
    : loop(loop),
      reserve(loop),
      record(std::move(name)),
      limits(limits),
      findProblem(findProblem),
      hangTime(hangTime),
      timer(loop.GetContext())
{
}

/// In progress or waiting. Requires: the strand is busy.
std::size_t RequestStrand::CountTasks(uint64 clientId) const
{
    return static_cast<std::size_t>(std::ranges::count(waiting, clientId, &Waiting::clientId)) +
           (currentClientId == clientId ? 1 : 0);
}

/// Whether one more request of the client may wait; that of another client with more of them may be refused for it.
bool RequestStrand::TryMakeRoom(uint64 clientId)
{
    if (std::ranges::count(waiting, clientId, &Waiting::clientId) >=
        static_cast<std::ptrdiff_t>(limits.maximumPerClient))
    {
        return false;
    }
    if (waiting.size() < limits.maximum)
    {
        return true;
    }
    // The last one by rank is the last one of a client with the most tasks.
    if (waiting.empty() || waiting.back().rank <= CountTasks(clientId))
    {
        return false;
    }
    Refuse(std::move(waiting.back().exchange), Problems::tooManyRequests);
    waiting.pop_back();
    return true;
}

/// Behind the requests of clients that have at most as many before them.
void RequestStrand::Wait(std::shared_ptr<IHttpExchange> exchange, Task task)
{
    const uint64 clientId = exchange->GetClientId();
    const std::size_t rank = CountTasks(clientId);
    waiting.insert(std::ranges::upper_bound(waiting, rank, {}, &Waiting::rank),
                   {std::move(exchange), std::move(task), clientId, rank});
}

/// What waits of the client whose task has ended moves up.
RequestStrand::Waiting RequestStrand::TakeNext()
{
    for (Waiting& each : waiting)
    {
        each.rank -= each.clientId == currentClientId ? 1 : 0;
    }
    std::ranges::stable_sort(waiting, {}, &Waiting::rank);
    Waiting next = std::move(waiting.front());
    waiting.pop_front();
    return next;
}

void RequestStrand::Refuse(std::shared_ptr<IHttpExchange> exchange, const Problem& problem)
{
    boost::asio::post(loop.GetContext(),
                      [exchange = std::move(exchange), &problem]
                      {
                          SendProblem(*exchange, problem);
                          exchange->Resume();
                      });
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
    currentClientId = exchange.GetClientId();
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
        Waiting next = TakeNext();
        try
        {
            Begin(*next.exchange);
            boost::asio::post(loop.GetContext(),
                              [self = shared_from_this(), next = std::move(next)]
                              {
                                  self->Execute(*next.exchange, next.task);
                                  next.exchange->Resume();
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
        Refuse(std::move(each.exchange), Problems::serviceNotAvailable);
    }
}

} // namespace Oxa::Host::Http
