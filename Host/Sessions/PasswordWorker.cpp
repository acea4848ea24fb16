#include "Host/Sessions/PasswordWorker.hpp"

#include "Host/Http/Problem.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"

#include <boost/asio/post.hpp>
#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <utility>

namespace Oxa::Host::Sessions
{

using Http::Handling;
using Http::IHttpExchange;
using System::Commons::MutexLock;

namespace
{

/// Of this thread only. What the system refuses does not matter: the tasks then only share the processor. Not the
/// lowest priority, with which a log-in takes seconds while slow clients keep all processors busy.
void LowerPriority() noexcept
{
    constexpr int lowPriority = 2;
    const sched_param parameters = {};
    (void)sched_setscheduler(0, SCHED_BATCH, &parameters);
    (void)setpriority(PRIO_PROCESS, 0, lowPriority);
}

} // namespace

PasswordWorker::PasswordWorker(boost::asio::io_context& context) : context(context) {}

PasswordWorker::~PasswordWorker()
{
    std::thread last;
    {
        const MutexLock lock(mutex);
        isEnding = true;
        last.swap(thread);
    }
    changed.NotifyAll();
    if (last.joinable())
    {
        last.join();
    }
}

Handling PasswordWorker::Post(const std::shared_ptr<IHttpExchange>& exchange, std::size_t rank, Task task)
{
    Waiting last;
    {
        const MutexLock lock(mutex);
        if (!thread.joinable())
        {
            thread = std::thread([this] { Run(); });
        }
        queue.insert(std::ranges::lower_bound(queue, rank, {}, &Waiting::rank),
                     Waiting{exchange, rank, std::move(task), ++lastNumber});
        if (queue.size() > maximumWaiting)
        {
            last = std::move(queue.back());
            queue.pop_back();
        }
    }
    changed.NotifyAll();
    if (last.exchange != nullptr)
    {
        SendProblem(*last.exchange, Http::Problems::tooManyRequests);
        if (last.exchange == exchange)
        {
            return Handling::Completed;
        }
        Resume(std::move(last.exchange));
    }
    return Handling::Deferred;
}

void PasswordWorker::Run()
{
    LowerPriority();
    MutexLock lock(mutex);
    while (!isEnding)
    {
        if (queue.empty())
        {
            changed.Wait(mutex);
            continue;
        }
        Waiting next = TakeNext();
        lock.Unlock();
        Execute(std::move(next));
        lock.Lock();
        if (queue.empty() && !isEnding)
        {
            lock.Unlock();
            System::Commons::ReleaseUnusedMemory();
            lock.Lock();
        }
    }
}

PasswordWorker::Waiting PasswordWorker::TakeNext()
{
    const bool isOldest = ++takenTasks % oldestInterval == 0;
    const auto next = isOldest ? std::ranges::min_element(queue, {}, &Waiting::number) : queue.begin();
    Waiting taken = std::move(*next);
    queue.erase(next);
    return taken;
}

/// The exchange is resumed or given up where connections are served; this thread then holds nothing of it.
void PasswordWorker::Execute(Waiting waiting) noexcept
{
    try
    {
        const bool isConnected = waiting.exchange->IsConnected();
        if (isConnected)
        {
            try
            {
                waiting.task(*waiting.exchange);
            }
            catch (...)
            {
                Http::FaultReport::Send(*waiting.exchange, "a log-in or a change of users");
            }
        }
        waiting.task = nullptr;
        if (isConnected)
        {
            Resume(std::move(waiting.exchange));
            return;
        }
        boost::asio::post(context, [exchange = std::move(waiting.exchange)] {});
    }
    catch (...)
    {
        // Out of memory. The exchange is given up, and with it the client's connection.
    }
}

void PasswordWorker::Resume(std::shared_ptr<IHttpExchange> exchange)
{
    boost::asio::post(context, [exchange = std::move(exchange)] { exchange->Resume(); });
}

} // namespace Oxa::Host::Sessions
