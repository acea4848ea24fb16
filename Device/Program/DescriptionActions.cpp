#include "Device/Program/DescriptionActions.hpp"

#include "Device/Description/DescribedMachine.hpp"
#include "Device/Description/DescriptionWriter.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Identity/IdentityItems.hpp"
#include "Device/Items/ItemText.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Program/DeviceServerConfiguration.hpp"
#include "Oxa/System/Commons/ConfigurationException.hpp"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace Oxa::Device::Linux::Program
{

namespace
{

using Linux::Description::DeviceDescription;
using Linux::Machine::MachineRoot;

MachineRoot GetRoot(const DeviceCommandLine& commandLine)
{
    return MachineRoot(commandLine.rootFolder.empty() ? "/" : commandLine.rootFolder);
}

BasicString FindDescription(const DeviceCommandLine& commandLine)
{
    if (!commandLine.descriptionPath.empty())
    {
        return commandLine.descriptionPath;
    }
    const auto components = LoadDeviceServerConfiguration(commandLine.configurationPath).components;
    const auto hasSettings = [](const auto& component)
    {
        return !component.settingsPath.empty();
    };
    auto found = std::find_if(components.begin(), components.end(),
                              [&hasSettings](const auto& component)
                              { return component.componentName == "Linux" && hasSettings(component); });
    if (found == components.end())
    {
        found = std::find_if(components.begin(), components.end(), hasSettings);
    }
    if (found == components.end())
    {
        throw System::Commons::ConfigurationException::Create("'{0}' names no description; give one with --description",
                                                              commandLine.configurationPath);
    }
    return found->settingsPath;
}

} // namespace

int CheckDescription(const DeviceCommandLine& commandLine, std::ostream& output)
{
    const auto mistakes = Linux::Description::CheckDescription(commandLine.descriptionPath);
    for (const BasicString& mistake : mistakes)
    {
        output << mistake << '\n';
    }
    if (mistakes.empty())
    {
        output << commandLine.descriptionPath << " is in order\n";
    }
    return mistakes.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

void DescribeMachine(const DeviceCommandLine& commandLine, std::ostream& output)
{
    using Linux::Description::MissingParts;
    output << Linux::Description::WriteDescription(
        GetRoot(commandLine), commandLine.simulatesMissingParts ? MissingParts::Simulated : MissingParts::Absent);
}

int ReadItems(const DeviceCommandLine& commandLine, std::ostream& output)
{
    const auto description = DeviceDescription::Load(FindDescription(commandLine));
    const MachineRoot root = GetRoot(commandLine);
    Linux::Description::DescribedMachine machine(root);
    const auto items = description.MakeItems(machine);
    const auto bootIdentity =
        std::make_shared<Linux::Identity::BootIdentity>(root.Resolve("/proc/sys/kernel/random/boot_id"));
    Linux::Identity::AddIdentityItems(*items, bootIdentity, description.GetContent().files);
    bool hasAll = true;
    for (const BasicString& key : commandLine.keys)
    {
        if (items->TryFind(key) == nullptr)
        {
            output << key << " is not described\n";
            hasAll = false;
            continue;
        }
        const auto value = items->Read(key);
        hasAll = hasAll && value.GetType() != System::Rsc::RscType::NotSet;
        output << Linux::Items::FormatItem(key, value) << '\n';
    }
    return hasAll ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace Oxa::Device::Linux::Program
