#pragma once

#include <chrono>

namespace Oxa::Device::Linux::Machine
{

/// Lets threads wait for time to pass and another end that at once. Tests drive time through it.
/// Threads: any may wait, any may cancel.
class IWaiter
{
public:
    virtual ~IWaiter();

    /// True when the time is over, false when the wait was, or had been, cancelled.
    [[nodiscard]] virtual bool Wait(std::chrono::milliseconds duration) = 0;

    /// Ends the present wait and every later one.
    virtual void Cancel() noexcept = 0;
};

} // namespace Oxa::Device::Linux::Machine
