#pragma once

#include "Device/Machine/IWaiter.hpp"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

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
    void AwaitWait(int count)
    {
        std::unique_lock lock(mutex);
        condition.wait(lock, [this, count] { return waits >= count; });
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
        return lastDuration;
    }

private:
    class Waiter final : public Oxa::Device::Linux::Machine::IWaiter
    {
    public:
        explicit Waiter(FakeTime& time) : time(time) {}

        [[nodiscard]] bool Wait(std::chrono::milliseconds duration) override
        {
            std::unique_lock lock(time.mutex);
            time.lastDuration = duration;
            ++time.waits;
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
    int waits = 0;
    int elapsed = 0;
    bool isCancelled = false;
    std::chrono::milliseconds lastDuration = {};
};

} // namespace Oxa::Tests::Device
