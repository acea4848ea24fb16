#include "Device/Component/Sampler.hpp"

#include "Oxa/System/Commons/Exception.hpp"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace Oxa::Device::Linux::Component
{

using System::Commons::Diagnostics::Logging::LogLevel;

Sampler::Sampler(std::shared_ptr<Sources::CpuLoads> loads, std::shared_ptr<Items::ItemHistories> histories,
                 std::chrono::milliseconds period)
    : loads(std::move(loads)),
      histories(std::move(histories)),
      period(period),
      thread([this](const std::stop_token& stop) { Run(stop); })
{
}

void Sampler::Run(const std::stop_token& stop) noexcept
{
    using Clock = std::chrono::steady_clock;
    try
    {
        // Waits for the stop only; nothing is guarded.
        std::mutex waitMutex;
        std::condition_variable_any stopped;
        std::unique_lock lock(waitMutex);
        histories->Sample();
        // Deadlines do not drift, so that no period of the histories goes without a sample.
        auto deadline = Clock::now() + period;
        while (!stopped.wait_until(lock, stop, deadline, [&stop] { return stop.stop_requested(); }))
        {
            if (loads)
            {
                loads->Sample();
            }
            histories->Sample();
            deadline = std::max(deadline + period, Clock::now());
        }
    }
    catch (...)
    {
        Log(LogLevel::Error, "the processor loads and the histories are no longer sampled: {0}",
            System::Commons::DescribeCurrentException());
    }
}

} // namespace Oxa::Device::Linux::Component
