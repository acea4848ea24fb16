#pragma once

#include "Device/Machine/IWaiter.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <chrono>
#include <memory>
#include <thread>

namespace Oxa::Device::Linux::Sources
{

/// The thread that ends a sampling period of the processor loads once a second. Ends with the object.
class CpuSampler final : private System::Commons::Diagnostics::Logging::Loggable<CpuSampler>
{
public:
    static constexpr std::chrono::milliseconds period = std::chrono::seconds(1);

    /// Starts the thread; throws std::system_error when there can be none. Requires: no argument is null.
    CpuSampler(std::shared_ptr<CpuLoads> loads, std::unique_ptr<Machine::IWaiter> waiter);
    CpuSampler(const CpuSampler&) = delete;
    CpuSampler& operator=(const CpuSampler&) = delete;

    /// Ends the thread at once, without waiting for the end of the period.
    ~CpuSampler();

private:
    void Run() noexcept;

    const std::shared_ptr<CpuLoads> loads;
    const std::unique_ptr<Machine::IWaiter> waiter;
    std::thread thread;
};

} // namespace Oxa::Device::Linux::Sources
