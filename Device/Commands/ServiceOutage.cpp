#include "Device/Commands/ServiceOutage.hpp"

#include "Device/Machine/IWaiter.hpp"

namespace Oxa::Device::Linux::Commands
{

using System::Commons::Diagnostics::Logging::LogLevel;

ServiceOutage::ServiceOutage(const Actions& actions, std::chrono::milliseconds duration, Machine::IWaiter& waiter)
    : actions(actions), duration(duration), waiter(waiter)
{
}

ServiceOutage::~ServiceOutage() = default;

CommandResult ServiceOutage::Prepare()
{
    return {};
}

CommandResult ServiceOutage::Complete()
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

} // namespace Oxa::Device::Linux::Commands
