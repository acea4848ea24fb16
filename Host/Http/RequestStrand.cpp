#include "Host/Http/RequestStrand.hpp"

#include "Host/Http/FaultReport.hpp"
#include "Host/Http/Problem.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <boost/asio/post.hpp>

#include <utility>

namespace Oxa::Host::Http
{

using System::Commons::Diagnostics::CallRecord;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;

namespace
{

const Problem& GetProblem(RscFault fault) noexcept
{
    switch (fault)
    {
    case RscFault::TimedOut:
        return Problems::serviceTimeout;
    case RscFault::ConnectionLost:
        return Problems::serviceLost;
    case RscFault::BadAnswer:
        return Problems::badServiceAnswer;
    case RscFault::Refused:
        return Problems::serviceRefused;
    default:
        return Problems::serviceNotAvailable;
    }
}

} // namespace

RequestStrand::RequestStrand(Threads::EventLoop& loop, BasicString name, std::size_t maximumWaiting)
    : loop(loop), reserve(loop), record(std::move(name)), maximumWaiting(maximumWaiting)
{
}

RequestStrand::~RequestStrand() = default;

bool RequestStrand::TryEnter()
{
    const std::lock_guard lock(mutex);
    if (isBusy || isClosed)
    {
        return false;
    }
    isBusy = true;
    return true;
}

Handling RequestStrand::Enqueue(const std::shared_ptr<IHttpExchange>& exchange, Task task)
{
    {
        std::unique_lock lock(mutex);
        if (isClosed || waiting.size() >= maximumWaiting)
        {
            const auto& problem = isClosed ? Problems::serviceNotAvailable : Problems::tooManyRequests;
            lock.unlock();
            SendProblem(*exchange, problem);
            return Handling::Answered;
        }
        if (isBusy)
        {
            waiting.emplace_back(exchange, std::move(task));
            return Handling::Deferred;
        }
        isBusy = true;
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
    const std::lock_guard lock(mutex);
    if (waiting.empty())
    {
        isBusy = false;
        becameIdle.notify_all();
        return std::nullopt;
    }
    std::optional<Waiting> next = std::move(waiting.front());
    waiting.pop_front();
    return next;
}

/// Not at once: the answer of the request before it is to go out first.
void RequestStrand::PostNext(Waiting next)
{
    boost::asio::post(loop.GetContext(),
                      [self = shared_from_this(), next = std::move(next)]() mutable
                      {
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
        std::unique_lock lock(mutex);
        isClosed = true;
        refused.swap(waiting);
        becameIdle.wait(lock, [this] { return !isBusy; });
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
