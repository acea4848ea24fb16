#pragma once

#include "Device/Machine/IWaiter.hpp"
#include "Oxa/System/Commons/Mutex.hpp"

namespace Oxa::Device::Linux::Machine
{

/// Waits by the steady clock, on a condition variable. Threads: any may wait, any may cancel.
class SteadyWaiter final : public IWaiter
{
public:
    SteadyWaiter();
    ~SteadyWaiter() override;

    [[nodiscard]] bool Wait(std::chrono::milliseconds duration) override;
    void Cancel() noexcept override;

private:
    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable condition;
    bool isCancelled = false;
};

} // namespace Oxa::Device::Linux::Machine
