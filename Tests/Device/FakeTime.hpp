#pragma once

#include "Device/Machine/IWaiter.hpp"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace Oxa::Tests::Device
{

/// Time that passes when the test says so, for one thread that waits. Outlives its waiter.
class FakeTime final
{
public:
    [[nodiscard]] std::unique_ptr<Oxa::Device::Linux::Machine::IWaiter> MakeWaiter()
    {
        return std::make_unique<Waiter>(*this);
    }

    /// Returns when the thread has begun to wait for the `count`th time.
    void AwaitWait(std::size_t count)
    {
        std::unique_lock lock(mutex);
        condition.wait(lock, [this, count] { return durations.size() >= count; });
    }

    /// Ends one wait.
    void Elapse()
    {
        {
            const std::lock_guard lock(mutex);
            ++elapsed;
        }
        condition.notify_all();
    }

    [[nodiscard]] std::chrono::milliseconds GetLastDuration()
    {
        const std::lock_guard lock(mutex);
        return durations.empty() ? std::chrono::milliseconds() : durations.back();
    }

    /// How long the first wait was to last. Requires: the thread has waited.
    [[nodiscard]] std::chrono::milliseconds GetFirstDuration()
    {
        const std::lock_guard lock(mutex);
        return durations.at(0);
    }

private:
    class Waiter final : public Oxa::Device::Linux::Machine::IWaiter
    {
    public:
        explicit Waiter(FakeTime& time) : time(time) {}

        [[nodiscard]] bool Wait(std::chrono::milliseconds duration) override
        {
            std::unique_lock lock(time.mutex);
            time.durations.push_back(duration);
            time.condition.notify_all();
            time.condition.wait(lock, [this] { return time.elapsed > 0 || time.isCancelled; });
            if (time.isCancelled)
            {
                return false;
            }
            --time.elapsed;
            return true;
        }

        void Cancel() noexcept override
        {
            {
                const std::lock_guard lock(time.mutex);
                time.isCancelled = true;
            }
            time.condition.notify_all();
        }

    private:
        FakeTime& time;
    };

    std::mutex mutex;
    std::condition_variable condition;
    int elapsed = 0;
    bool isCancelled = false;
    std::vector<std::chrono::milliseconds> durations;
};

} // namespace Oxa::Tests::Device
