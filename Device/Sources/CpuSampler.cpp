#include "Device/Sources/CpuSampler.hpp"

#include <exception>
#include <utility>

namespace Oxa::Device::Linux::Sources
{

using System::Commons::Diagnostics::Logging::LogLevel;

CpuSampler::CpuSampler(std::shared_ptr<CpuLoads> loads, std::unique_ptr<Machine::IWaiter> waiter)
    : loads(std::move(loads)), waiter(std::move(waiter)), thread(&CpuSampler::Run, this)
{
}

CpuSampler::~CpuSampler()
{
    waiter->Cancel();
    thread.join();
}

void CpuSampler::Run() noexcept
{
    try
    {
        while (waiter->Wait(period))
        {
            loads->Sample();
        }
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "The processor loads are no longer sampled: {0}", exception.what());
    }
    catch (...)
    {
        Log(LogLevel::Error, "The processor loads are no longer sampled: unknown exception");
    }
}

} // namespace Oxa::Device::Linux::Sources
