#pragma once

#include "Device/Commands/DeviceCommands.hpp"
#include "Device/Description/DescribedMachine.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Device/Machine/IWaiter.hpp"
#include "Device/Services/DeviceServices.hpp"
#include "Device/Sources/CpuLoads.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Device::Linux::Component
{

/// The device services of a Linux machine: puts items, services, sampler and commands together, as the device
/// description says that the settings path names. The machine is the folder that the application domain's variable
/// OXA_DEVICE_ROOT names, else "/". Owned by the process that created it. Threads: as every component, one operation at
/// a time.
class LinuxComponent final : public System::Acf::IComponent,
                             private System::Commons::Diagnostics::Logging::Loggable<LinuxComponent>
{
public:
    /// Requires: `commandWaiter` is not null, `appDomain` outlives `Setup`.
    LinuxComponent(System::Commons::AppDomain& appDomain, std::unique_ptr<Machine::IWaiter> commandWaiter);
    ~LinuxComponent() override;

    /// Reads the description and finds out what the machine has. Throws XmlException when there is no description or
    /// something is wrong with it, ArgumentException when the root is no folder.
    void Setup(const System::Acf::ComponentInfo& componentInfo) override;

    /// Offers the four services and starts the sampler. Requires: `Setup` was called.
    void Start() override;

    /// Ends a command at once, too.
    void Stop() noexcept override;

private:
    [[nodiscard]] std::shared_ptr<Commands::DeviceCommands> MakeCommands();
    /// As the services of the run that the identity items tell.
    void Offer();
    void LogSources() const;
    void LogNames(const char* title, const std::vector<BasicString>& names) const;

    System::Commons::AppDomain& appDomain;
    std::unique_ptr<Machine::IWaiter> commandWaiter;

    std::unique_ptr<Description::DescribedMachine> machine;
    std::shared_ptr<Identity::BootIdentity> bootIdentity;
    std::shared_ptr<const Items::ItemTable> items;
    Commands::CommandSettings commandSettings;

    std::shared_ptr<Commands::DeviceCommands> commands;
    std::unique_ptr<Services::DeviceServices> services;
    std::unique_ptr<Sources::CpuSampler> sampler;
};

} // namespace Oxa::Device::Linux::Component
