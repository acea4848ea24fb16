#pragma once

#include "Device/Commands/DeviceCommands.hpp"
#include "Device/Component/Sampler.hpp"
#include "Device/Description/DescribedMachine.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Items/ItemHistories.hpp"
#include "Device/Items/ItemTable.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <memory>
#include <optional>
#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Device::Linux::Component
{

/// The device services of a Linux machine: puts items, services, sampler and commands together, by the device
/// description at the settings path. The machine is the folder that the application domain's variable OXA_DEVICE_ROOT
/// names, else "/". Owned by the process that created it. Threads: as every component, one operation at
/// a time.
class LinuxComponent final : public System::Acf::IComponent,
                             private System::Commons::Diagnostics::Logging::Loggable<LinuxComponent>
{
public:
    /// Requires: `appDomain` outlives `Setup`.
    explicit LinuxComponent(System::Commons::AppDomain& appDomain, const Commands::CommandTimes& commandTimes = {});
    ~LinuxComponent() override;

    /// Reads the description and prepares its items. Throws XmlException when there is no description or it has a
    /// mistake, ArgumentException when the root is no folder.
    void Setup(const System::Acf::ComponentInfo& componentInfo) override;

    /// Offers the services and starts the sampler. Requires: `Setup` was called.
    void Start() override;

    /// Ends a command at once, too.
    void Stop() noexcept override;

private:
    /// Offers the services together, as those of the run that the identity items describe.
    void Offer();
    void LogSources() const;
    void LogNames(const char* title, const std::vector<BasicString>& names) const;

    System::Commons::AppDomain& appDomain;
    const Commands::CommandTimes commandTimes;

    std::unique_ptr<Description::DescribedMachine> machine;
    std::shared_ptr<Identity::BootIdentity> bootIdentity;
    std::shared_ptr<const Items::ItemTable> items;
    /// Those of the component, over all runs of the device that it simulates.
    std::shared_ptr<Items::ItemHistories> histories;
    Commands::CommandSettings commandSettings;

    std::shared_ptr<Commands::DeviceCommands> commands;
    /// Calls under way survive its end.
    std::optional<System::Rsc::RscRegistration> registration;
    std::unique_ptr<Sampler> sampler;
};

} // namespace Oxa::Device::Linux::Component
