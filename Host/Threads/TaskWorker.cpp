#include "Host/Threads/TaskWorker.hpp"

#include "Oxa/System/Commons/Exception.hpp"

#include <utility>

namespace Oxa::Host::Threads
{

using System::Commons::Diagnostics::Logging::LogLevel;

TaskWorker::TaskWorker(std::size_t maximumWaiting) : maximumWaiting(maximumWaiting) {}

TaskWorker::~TaskWorker()
{
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
        changed.notify_all();
    }
    if (thread.joinable())
    {
        thread.join();
    }
}

bool TaskWorker::TryAdd(Task task)
{
    const std::lock_guard lock(mutex);
    if (tasks.size() >= maximumWaiting)
    {
        return false;
    }
    if (!thread.joinable())
    {
        thread = std::thread([this] { Run(); });
    }
    tasks.push_back(std::move(task));
    changed.notify_one();
    return true;
}

void TaskWorker::Run()
{
    std::unique_lock lock(mutex);
    while (true)
    {
        changed.wait(lock, [this] { return isStopping || !tasks.empty(); });
        if (isStopping)
        {
            return;
        }
        const Task task = std::move(tasks.front());
        tasks.pop_front();
        lock.unlock();
        RunGuarded(task);
        lock.lock();
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
