#pragma once

#include "Device/Items/ItemHistories.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <chrono>
#include <memory>
#include <thread>

namespace Oxa::Device::Linux::Component
{

/// The thread that samples: it ends a period of the processor loads, and lets the histories take a sample when one is
/// due. The first sample of the histories is taken at once. Owned by the component; ends with the object, at once
/// unless an item's file hangs.
class Sampler final : private System::Commons::Diagnostics::Logging::Loggable<Sampler>
{
public:
    /// Starts the thread; throws std::system_error when no thread can be made. `loads`: can be null. Requires:
    /// `histories` is not null.
    Sampler(std::shared_ptr<Sources::CpuLoads> loads, std::shared_ptr<Items::ItemHistories> histories,
            std::chrono::milliseconds period);

private:
    void Run(const std::stop_token& stop) noexcept;

    const std::shared_ptr<Sources::CpuLoads> loads;
    const std::shared_ptr<Items::ItemHistories> histories;
    const std::chrono::milliseconds period;
    std::jthread thread;
};

} // namespace Oxa::Device::Linux::Component
