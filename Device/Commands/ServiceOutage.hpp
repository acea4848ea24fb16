#pragma once

#include "Device/Commands/ICommand.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <chrono>
#include <functional>

namespace Oxa::Device::Linux::Machine
{
class IWaiter;
}

namespace Oxa::Device::Linux::Commands
{

/// The simulated restart: takes the services away once the caller has got an answer, and offers them again after a
/// while. Threads: as every command.
class ServiceOutage final : public ICommand, private System::Commons::Diagnostics::Logging::Loggable<ServiceOutage>
{
public:
    /// Called on the command's thread, one after the other; `offerAgain` not when the wait was cancelled.
    struct Actions
    {
        std::function<void()> withdraw;
        std::function<void()> offerAgain;
    };

    /// Requires: actions and waiter outlive the command.
    ServiceOutage(const Actions& actions, std::chrono::milliseconds duration, Machine::IWaiter& waiter);
    ~ServiceOutage() override;

    CommandResult Prepare() override;
    CommandResult Complete() override;

private:
    const Actions& actions;
    const std::chrono::milliseconds duration;
    Machine::IWaiter& waiter;
};

} // namespace Oxa::Device::Linux::Commands
