#include "Device/Program/DescriptionActions.hpp"

#include "Device/Description/DescribedMachine.hpp"
#include "Device/Description/DescriptionWriter.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Items/ItemText.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Program/DeviceServer.hpp"
#include "Oxa/System/Commons/ConfigurationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>

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

std::unique_ptr<Linux::Items::ItemTable> MakeItems(const DeviceDescription& description, const MachineRoot& root)
{
    Linux::Description::DescribedMachine machine(root);
    auto items = description.MakeItems(machine);
    const auto bootIdentity =
        std::make_shared<Linux::Identity::BootIdentity>(root.Resolve("/proc/sys/kernel/random/boot_id"));
    Linux::Identity::AddIdentityItems(*items, bootIdentity, description.files);
    return items;
}

void ShowItems(const Linux::Items::ItemTable& items, std::ostream& output)
{
    const auto pass = Linux::Items::ReadPass::Begin();
    for (Linux::Items::DeviceItem* const item : items.GetItems())
    {
        const auto reading = item->TryRead(pass);
        output << Linux::Items::FormatItem(item->GetKey(), reading.value)
               << (reading.HasValue() ? "" : ": " + System::Commons::Text::EscapeControlCharacters(reading.cause))
               << '\n';
    }
}

/// False when there is a mistake.
bool CheckDescriptionAt(const BasicString& path, std::ostream& output)
{
    const auto findings = Linux::Description::CheckDescription(path);
    for (const auto& messages : {findings.mistakes, findings.warnings})
    {
        for (const BasicString& message : messages)
        {
            output << message << '\n';
        }
    }
    if (findings.mistakes.empty())
    {
        output << path << " is in order\n";
    }
    return findings.mistakes.empty();
}

/// False when there is a mistake. What settings are is known of this program's own component only.
bool CheckComponent(const System::Acf::ComponentConfiguration& component, std::ostream& output)
{
    bool isInOrder = true;
    if (access(component.libraryPath.c_str(), R_OK) != 0)
    {
        output << "the component '" << component.name << "': cannot read '" << component.libraryPath
               << "': " << std::generic_category().message(errno) << '\n';
        isInOrder = false;
    }
    if (!component.libraryPath.ends_with("/libOxa.Device.Linux.so"))
    {
        return isInOrder;
    }
    if (component.settingsPath.empty())
    {
        output << "the component '" << component.name << "': its settings have to name a device description\n";
        return false;
    }
    return CheckDescriptionAt(component.settingsPath, output) && isInOrder;
}

} // namespace

int CheckDescription(const DeviceCommandLine& commandLine, std::ostream& output)
{
    const bool isInOrder = CheckDescriptionAt(commandLine.descriptionPath, output);
    if (isInOrder && !commandLine.rootFolder.empty())
    {
        ShowItems(*MakeItems(DeviceDescription::Load(commandLine.descriptionPath), GetRoot(commandLine)), output);
    }
    return isInOrder ? EXIT_SUCCESS : EXIT_FAILURE;
}

int CheckConfiguration(const DeviceCommandLine& commandLine, std::ostream& output)
{
    const BasicString& path = commandLine.configurationPath;
    bool isInOrder = true;
    try
    {
        const auto components = LoadDeviceServerConfiguration(path).components;
        if (components.empty())
        {
            output << path << ": no component is configured, there is nothing to offer\n";
            isInOrder = false;
        }
        for (const auto& component : components)
        {
            isInOrder = CheckComponent(component, output) && isInOrder;
        }
    }
    catch (const System::Commons::XmlException& exception)
    {
        output << exception.GetMessage() << '\n';
        isInOrder = false;
    }
    if (isInOrder)
    {
        output << path << " is in order\n";
    }
    return isInOrder ? EXIT_SUCCESS : EXIT_FAILURE;
}

void DescribeMachine(const DeviceCommandLine& commandLine, std::ostream& output)
{
    using Linux::Description::MissingParts;
    output << Linux::Description::WriteDescription(
        GetRoot(commandLine), commandLine.simulatesMissingParts ? MissingParts::Simulated : MissingParts::Absent);
}

int ReadItems(const DeviceCommandLine& commandLine, std::ostream& output)
{
    const auto items = MakeItems(DeviceDescription::Load(FindDescription(commandLine)), GetRoot(commandLine));
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
