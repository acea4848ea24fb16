#include "Device/LinuxComponent.hpp"

#include "Device/MachineItems.hpp"
#include "Device/MachineRoot.hpp"
#include "Oxa/System/Acf/ComponentInfo.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"

#include <exception>
#include <utility>

namespace Oxa::Device::Linux
{

using System::Commons::Diagnostics::Logging::LogLevel;

LinuxComponent::LinuxComponent(System::Commons::AppDomain& appDomain, std::unique_ptr<IWaiter> samplingWaiter,
                               std::unique_ptr<IWaiter> commandWaiter)
    : appDomain(appDomain), samplingWaiter(std::move(samplingWaiter)), commandWaiter(std::move(commandWaiter))
{
}

LinuxComponent::~LinuxComponent()
{
    Stop();
}

void LinuxComponent::Setup(const System::Acf::ComponentInfo& componentInfo)
{
    if (!componentInfo.GetSettingsPath().empty())
    {
        Log(LogLevel::Warning, "The component has no settings, '{0}' is not used", componentInfo.GetSettingsPath());
    }
    const MachineRoot root(appDomain.TryGetVariable("OXA_DEVICE_ROOT").value_or("/"));
    bootIdentity = std::make_shared<BootIdentity>(root.Resolve("/proc/sys/kernel/random/boot_id"));
    loads =
        std::make_shared<Items::CpuLoads>(root.Resolve("/proc/stat"), root.Resolve("/sys/devices/system/cpu/online"));
    items = MakeMachineItems(root, loads, bootIdentity);
}

void LinuxComponent::Start()
{
    LogSources();
    sampler = std::make_unique<CpuSampler>(loads, std::move(samplingWaiter));
    commands = MakeCommands();
    services = std::make_unique<Services::DeviceServices>(items, commands);
    services->Offer();
}

void LinuxComponent::Stop() noexcept
{
    try
    {
        // First of all, lest the end of an outage offers again what is withdrawn here.
        if (commands)
        {
            commands->Stop();
        }
        services.reset();
        sampler.reset();
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "The device services could not be stopped: {0}", exception.what());
    }
}

std::shared_ptr<Commands::DeviceCommands> LinuxComponent::MakeCommands()
{
    using Commands::CommandSettings;
    const CommandSettings settings = {
        CommandSettings::RestartAction::Simulate, CommandSettings::FactoryResetAction::Simulate, {}};
    ServiceOutage::Actions outageActions = {[this] { services->Withdraw(); },
                                            [this]
                                            {
                                                ComeBack();
                                            }};
    return std::make_shared<Commands::DeviceCommands>(settings, std::move(outageActions), std::move(commandWaiter));
}

void LinuxComponent::ComeBack()
{
    bootIdentity->Renew();
    services->Offer();
}

void LinuxComponent::LogSources() const
{
    BasicString simulated;
    for (const Items::DeviceItem* item : items->GetItems())
    {
        Log(LogLevel::Debug, "{0}: {1}", item->GetKey(), item->GetSource().Describe());
        if (item->GetSource().IsSimulated())
        {
            simulated += (simulated.empty() ? "" : ", ") + item->GetKey();
        }
    }
    Log(LogLevel::Information, "Simulated on this machine: restart, factory reset, {0}", simulated);
}

} // namespace Oxa::Device::Linux
