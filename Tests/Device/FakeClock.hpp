#pragma once

#include "Device/Machine/BoundedCalls.hpp"

#include <chrono>

namespace Oxa::Tests::Device
{

/// A steady clock that stands still until the test moves it. Outlives what it is handed to.
class FakeClock final
{
public:
    [[nodiscard]] Oxa::Device::Linux::Machine::SteadyClock Get() const
    {
        return [this]
        {
            return now;
        };
    }

    void Advance(std::chrono::milliseconds duration)
    {
        now += duration;
    }

private:
    Oxa::Device::Linux::Machine::SteadyTime now = {};
};

} // namespace Oxa::Tests::Device
