#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

#include <cstddef>
#include <deque>
#include <functional>
#include <thread>

namespace Oxa::Host::Threads
{

/// One thread for work that takes too long for the event loop, one task at a time in order. The thread starts with the
/// first task. What a task throws is logged. Safe from any thread.
class TaskWorker final : private System::Commons::Diagnostics::Logging::Loggable<TaskWorker>
{
public:
    using Task = std::function<void()>;

    explicit TaskWorker(std::size_t maximumWaiting);
    TaskWorker(const TaskWorker&) = delete;
    TaskWorker& operator=(const TaskWorker&) = delete;

    /// Finishes the task in progress; those that wait are dropped.
    ~TaskWorker();

    /// False, and the task is dropped, when too many wait.
    [[nodiscard]] bool TryAdd(Task task);

private:
    void Run();
    void RunGuarded(const Task& task) const;

    const std::size_t maximumWaiting;
    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    std::deque<Task> tasks;
    bool isStopping = false;
    std::thread thread;
};

} // namespace Oxa::Host::Threads
