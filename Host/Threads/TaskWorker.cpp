#include "Host/Threads/TaskWorker.hpp"

#include "Oxa/System/Commons/Exception.hpp"

#include <utility>

namespace Oxa::Host::Threads
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;

TaskWorker::TaskWorker(std::size_t maximumWaiting) : maximumWaiting(maximumWaiting) {}

TaskWorker::~TaskWorker()
{
    {
        const MutexLock lock(mutex);
        isStopping = true;
        changed.NotifyAll();
    }
    if (thread.joinable())
    {
        thread.join();
    }
}

bool TaskWorker::TryAdd(Task task)
{
    const MutexLock lock(mutex);
    if (tasks.size() >= maximumWaiting)
    {
        return false;
    }
    if (!thread.joinable())
    {
        thread = std::thread([this] { Run(); });
    }
    tasks.push_back(std::move(task));
    changed.NotifyOne();
    return true;
}

void TaskWorker::Run()
{
    MutexLock lock(mutex);
    while (true)
    {
        while (!isStopping && tasks.empty())
        {
            changed.Wait(mutex);
        }
        if (isStopping)
        {
            return;
        }
        const Task task = std::move(tasks.front());
        tasks.pop_front();
        lock.Unlock();
        RunGuarded(task);
        lock.Lock();
    }
}

void TaskWorker::RunGuarded(const Task& task) const
{
    try
    {
        task();
    }
    catch (...)
    {
        Log(LogLevel::Error, "a task failed: {0}", System::Commons::DescribeCurrentException());
    }
}

} // namespace Oxa::Host::Threads
