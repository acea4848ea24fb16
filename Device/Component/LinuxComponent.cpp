#include "Device/Component/LinuxComponent.hpp"

#include "Device/Description/DeviceDescription.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Services/DeviceItemService.hpp"
#include "Device/Services/ItemService.hpp"
#include "Device/Services/RtcService.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IdentityItemKeys.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <fmt/format.h>

#include <chrono>
#include <utility>

namespace Oxa::Device::Linux::Component
{

using Commands::CommandSettings;
using Description::DeviceDescription;
using Interface::Services::bootIdKey;
using Interface::Services::buildIdKey;
using System::Commons::XmlException;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

std::vector<BasicString> NameSimulatedCommands(const CommandSettings& settings)
{
    std::vector<BasicString> names;
    if (settings.restart == CommandSettings::RestartAction::Simulate)
    {
        names.emplace_back("restart");
    }
    if (settings.factoryReset == CommandSettings::FactoryResetAction::Simulate)
    {
        names.emplace_back("factory reset");
    }
    return names;
}

/// Empty when the item has no value.
BasicString ReadText(const Items::ItemTable& items, const char* key)
{
    const Items::ItemValue value = items.Read(key);
    return value.GetType() == System::Rsc::RscType::String ? value.ToString() : BasicString();
}

} // namespace

LinuxComponent::LinuxComponent(System::Commons::AppDomain& appDomain, const Commands::CommandTimes& commandTimes)
    : appDomain(appDomain), commandTimes(commandTimes)
{
}

LinuxComponent::~LinuxComponent()
{
    Stop();
}

void LinuxComponent::Setup(const System::Acf::ComponentInfo& componentInfo)
{
    if (componentInfo.GetSettingsPath().empty())
    {
        throw XmlException::Create(
            "the component '{0}' has no settings: they have to name a device description, a file or a folder of files",
            componentInfo.GetComponentName());
    }
    const auto description = DeviceDescription::Load(componentInfo.GetSettingsPath());
    const Machine::MachineRoot root(appDomain.TryGetVariable("OXA_DEVICE_ROOT").value_or("/"));
    machine = std::make_unique<Description::DescribedMachine>(root);
    bootIdentity = std::make_shared<Identity::BootIdentity>(root.Resolve("/proc/sys/kernel/random/boot_id"));
    auto table = description.MakeItems(*machine);
    Identity::AddIdentityItems(*table, bootIdentity, description.files);
    items = std::move(table);
    histories = std::make_shared<Items::ItemHistories>(items);
    Log(LogLevel::Information, "device description '{0}', number of files: {1}", description.name,
        description.files.size());
    commandSettings = description.commands;
}

void LinuxComponent::Start()
{
    LogSources();
    const auto& loads = machine->TryGetCpuLoads();
    if (loads || !histories->IsEmpty())
    {
        const std::chrono::seconds period = loads ? std::chrono::seconds(1) : Items::ItemHistories::period;
        sampler = std::make_unique<Sampler>(loads, histories, period);
    }
    Commands::DeviceCommands::OutageActions outageActions = {[this] { registration.reset(); },
                                                             [this]
                                                             {
                                                                 bootIdentity->Renew();
                                                                 Offer();
                                                             }};
    commands = std::make_shared<Commands::DeviceCommands>(commandSettings, std::move(outageActions), commandTimes);
    Offer();
}

void LinuxComponent::Stop() noexcept
{
    // First, so that the end of an outage cannot offer again what is withdrawn here.
    if (commands)
    {
        commands->Stop();
    }
    registration.reset();
    sampler.reset();
}

void LinuxComponent::Offer()
{
    using Service = System::Rsc::RscRegistration::Service;
    registration.emplace(
        ReadText(*items, bootIdKey), ReadText(*items, buildIdKey),
        std::vector<Service>{{Interface::Services::DeviceInfoServiceProxyFactory::GetInstance(),
                              std::make_shared<Services::DeviceInfoService>(items)},
                             {Interface::Services::DeviceStatusServiceProxyFactory::GetInstance(),
                              std::make_shared<Services::DeviceStatusService>(items)},
                             {Interface::Services::DeviceItemServiceProxyFactory::GetInstance(),
                              std::make_shared<Services::DeviceItemService>(items, histories)},
                             {Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory::GetInstance(),
                              std::make_shared<Services::RtcService>()},
                             {Interface::Services::DeviceControlServiceProxyFactory::GetInstance(), commands}});
}

void LinuxComponent::LogSources() const
{
    std::vector<BasicString> simulated = NameSimulatedCommands(commandSettings);
    std::vector<BasicString> simulatedAsFallback;
    for (const Items::DeviceItem* item : items->GetItems())
    {
        Log(LogLevel::Debug, "{0}: {1}", item->GetKey(), item->GetSource().Describe());
        const Items::Simulation simulation = item->GetSource().GetSimulation();
        if (simulation == Items::Simulation::Always)
        {
            simulated.push_back(item->GetKey());
        }
        else if (simulation == Items::Simulation::AsFallback)
        {
            simulatedAsFallback.push_back(item->GetKey());
        }
    }
    LogNames("simulated on this machine", simulated);
    LogNames("simulated whenever this machine gives no value", simulatedAsFallback);
}

void LinuxComponent::LogNames(const char* title, const std::vector<BasicString>& names) const
{
    if (!names.empty())
    {
        Log(LogLevel::Information, "{0}: {1}", title, fmt::to_string(fmt::join(names, ", ")));
    }
}

} // namespace Oxa::Device::Linux::Component
