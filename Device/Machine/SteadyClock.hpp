#pragma once

#include <chrono>
#include <functional>

namespace Oxa::Device::Linux::Machine
{

using SteadyTime = std::chrono::steady_clock::time_point;

/// Tells the time that never jumps; tests pass one of their own. Safe from any thread, throws nothing.
using SteadyClock = std::function<SteadyTime()>;

[[nodiscard]] inline SteadyTime ReadSteadyClock() noexcept
{
    return std::chrono::steady_clock::now();
}

} // namespace Oxa::Device::Linux::Machine
