#include "Device/Component/LinuxComponent.hpp"

#include "Device/Description/DeviceDescription.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Oxa/Device/Interface/Services/IdentityItemKeys.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <fmt/format.h>

#include <exception>
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

LinuxComponent::LinuxComponent(System::Commons::AppDomain& appDomain, std::unique_ptr<Machine::IWaiter> commandWaiter)
    : appDomain(appDomain), commandWaiter(std::move(commandWaiter))
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
            "The component '{0}' has no settings: they have to name a device description, a file "
            "or a folder of files",
            componentInfo.GetComponentName());
    }
    const auto description = DeviceDescription::Load(componentInfo.GetSettingsPath());
    const Machine::MachineRoot root(appDomain.TryGetVariable("OXA_DEVICE_ROOT").value_or("/"));
    machine = std::make_unique<Description::DescribedMachine>(root);
    bootIdentity = std::make_shared<Identity::BootIdentity>(root.Resolve("/proc/sys/kernel/random/boot_id"));
    auto table = description.MakeItems(*machine);
    Identity::AddIdentityItems(*table, bootIdentity, description.files);
    items = std::move(table);
    Log(LogLevel::Information, "Device description '{0}', number of files: {1}", description.name,
        description.files.size());
    commandSettings = description.commands;
}

void LinuxComponent::Start()
{
    LogSources();
    if (const auto& loads = machine->TryGetCpuLoads())
    {
        sampler = std::make_unique<Sources::CpuSampler>(loads);
    }
    commands = MakeCommands();
    services = std::make_unique<Services::DeviceServices>(items, commands);
    Offer();
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
    Commands::DeviceCommands::OutageActions outageActions = {[this] { services->Withdraw(); },
                                                             [this]
                                                             {
                                                                 bootIdentity->Renew();
                                                                 Offer();
                                                             }};
    return std::make_shared<Commands::DeviceCommands>(commandSettings, std::move(outageActions),
                                                      std::move(commandWaiter));
}

void LinuxComponent::Offer()
{
    services->Offer(ReadText(*items, bootIdKey), ReadText(*items, buildIdKey));
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
    LogNames("Simulated on this machine", simulated);
    LogNames("Simulated whenever this machine gives no value", simulatedAsFallback);
}

void LinuxComponent::LogNames(const char* title, const std::vector<BasicString>& names) const
{
    if (!names.empty())
    {
        Log(LogLevel::Information, "{0}: {1}", title, fmt::to_string(fmt::join(names, ", ")));
    }
}

} // namespace Oxa::Device::Linux::Component
