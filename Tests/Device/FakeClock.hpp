#pragma once

#include "Device/Items/SteadyClock.hpp"

#include <chrono>

namespace Oxa::Tests::Device
{

/// A steady clock that stands still until the test moves it. Outlives what it is handed to.
class FakeClock final
{
public:
    [[nodiscard]] Oxa::Device::Linux::Items::SteadyClock Get() const
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
    Oxa::Device::Linux::Items::SteadyTime now = {};
};

} // namespace Oxa::Tests::Device
