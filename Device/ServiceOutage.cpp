#include "Device/ServiceOutage.hpp"

#include "Device/IWaiter.hpp"

namespace Oxa::Device::Linux
{

using System::Commons::Diagnostics::Logging::LogLevel;

ServiceOutage::ServiceOutage(const Actions& actions, std::chrono::milliseconds duration, IWaiter& waiter)
    : actions(actions), duration(duration), waiter(waiter)
{
}

ServiceOutage::~ServiceOutage() = default;

Commands::CommandResult ServiceOutage::Prepare()
{
    return {};
}

Commands::CommandResult ServiceOutage::Complete()
{
    actions.withdraw();
    Log(LogLevel::Notice, "Simulated restart: the services are gone for {0} ms", duration.count());
    if (waiter.Wait(duration))
    {
        actions.offerAgain();
        Log(LogLevel::Notice, "Simulated restart: the services are back");
    }
    return {};
}

} // namespace Oxa::Device::Linux
