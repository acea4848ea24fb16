#include "Device/Program/DescriptionActions.hpp"

#include "Device/Description/DescriptionWriter.hpp"
#include "Device/Description/DeviceDescription.hpp"
#include "Device/Identity/BootIdentity.hpp"
#include "Device/Items/ItemConversion.hpp"
#include "Device/Machine/MachineRoot.hpp"
#include "Device/Program/DeviceServer.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
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

using Description::DescribedMachine;
using Description::DeviceDescription;
using Machine::MachineRoot;
using System::Acf::ComponentConfiguration;

namespace
{

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
    const auto hasSettings = [](const ComponentConfiguration& component)
    {
        return !component.settingsPath.empty();
    };
    auto found = std::ranges::find_if(components, [&hasSettings](const ComponentConfiguration& component)
                                      { return component.componentName == "Linux" && hasSettings(component); });
    if (found == components.end())
    {
        found = std::ranges::find_if(components, hasSettings);
    }
    if (found == components.end())
    {
        throw System::Commons::ConfigurationException::Create("'{0}' names no description; give one with --description",
                                                              commandLine.configurationPath);
    }
    return found->settingsPath;
}

std::unique_ptr<Items::ItemTable> MakeItems(const BasicString& descriptionPath, const MachineRoot& root)
{
    const auto description = DeviceDescription::Load(descriptionPath);
    DescribedMachine machine(root);
    auto items = description.MakeItems(machine);
    const auto bootIdentity = std::make_shared<Identity::BootIdentity>(root.Resolve("/proc/sys/kernel/random/boot_id"));
    Identity::AddIdentityItems(*items, bootIdentity, description.files);
    return items;
}

/// The item with its value, or with the cause why it has none.
BasicString Format(const Items::DeviceItem& item, const Items::ItemReading& reading)
{
    const BasicString line = Items::FormatItem(item.GetKey(), reading, item.GetMeaning().unit);
    return reading.HasValue() ? line : line + ": " + System::Commons::Text::EscapeControlCharacters(reading.cause);
}

/// What a line of `Format` goes on with when the description is checked.
BasicString FormatMeaning(const Items::ItemMeaning& meaning)
{
    return (meaning.description.empty() ? "" : ": " + meaning.description) + (meaning.hasHistory ? " (history)" : "");
}

/// False when there is a mistake.
bool CheckDescriptionAt(const BasicString& path, std::ostream& output)
{
    const auto findings = Description::CheckDescription(path);
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

int CheckDescription(const DeviceCommandLine& commandLine, std::ostream& output)
{
    if (!CheckDescriptionAt(commandLine.descriptionPath, output))
    {
        return EXIT_FAILURE;
    }
    if (commandLine.rootFolder.empty())
    {
        return EXIT_SUCCESS;
    }
    const auto items = MakeItems(commandLine.descriptionPath, GetRoot(commandLine));
    const auto pass = Items::ReadPass::Begin();
    for (Items::DeviceItem* const item : items->GetItems())
    {
        const auto reading = item->TryRead(pass);
        output << Format(*item, reading) << (reading.HasValue() ? FormatMeaning(item->GetMeaning()) : "") << '\n';
    }
    return EXIT_SUCCESS;
}

/// False when there is a mistake. Only the settings of this program's own component are known to be a description.
bool CheckComponent(const ComponentConfiguration& component, std::ostream& output)
{
    bool isInOrder = true;
    if (access(component.libraryPath.c_str(), R_OK) != 0)
    {
        output << "the component '" << component.name << "': cannot read '" << component.libraryPath
               << "': " << std::generic_category().message(errno) << '\n';
        isInOrder = false;
    }
    try
    {
        RequireTrustedFiles(component);
    }
    catch (const System::Commons::InvalidOperationException& exception)
    {
        output << "the component '" << component.name << "': " << exception.GetMessage() << '\n';
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

int CheckConfiguration(const BasicString& path, std::ostream& output)
{
    bool isInOrder = true;
    try
    {
        const auto components = LoadDeviceServerConfiguration(path).components;
        if (components.empty())
        {
            output << path << ": no component is configured, so there are no services\n";
            isInOrder = false;
        }
        for (const ComponentConfiguration& component : components)
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

int ReadItems(const DeviceCommandLine& commandLine, std::ostream& output)
{
    const auto items = MakeItems(FindDescription(commandLine), GetRoot(commandLine));
    int status = EXIT_SUCCESS;
    for (const BasicString& key : commandLine.keys)
    {
        Items::DeviceItem* const item = items->TryFind(key);
        if (item == nullptr)
        {
            output << key << " is not described\n";
            status = EXIT_FAILURE;
            continue;
        }
        const auto reading = item->TryRead(Items::ReadPass::Begin());
        status = reading.HasValue() ? status : EXIT_FAILURE;
        output << Format(*item, reading) << '\n';
    }
    return status;
}

} // namespace

int RunAction(const DeviceCommandLine& commandLine, std::ostream& output)
{
    using Action = DeviceCommandLine::Action;
    switch (commandLine.action)
    {
    case Action::CheckDescription:
        return CheckDescription(commandLine, output);
    case Action::CheckConfiguration:
        return CheckConfiguration(commandLine.configurationPath, output);
    case Action::ReadItems:
        return ReadItems(commandLine, output);
    default:
        output << Description::WriteDescription(GetRoot(commandLine), commandLine.simulatesMissingParts);
        return EXIT_SUCCESS;
    }
}

} // namespace Oxa::Device::Linux::Program
