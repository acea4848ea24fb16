#include "Oxa/System/Acf/ComponentConfiguration.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/TrustedPath.hpp"
#include "Oxa/System/Commons/Xml/MultiXmlConfigDocument.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"
#include "Oxa/System/Commons/XmlException.hpp"

#include <utility>

namespace Oxa::System::Acf
{

using System::Commons::Xml::XmlElementReader;

namespace
{

/// The library and the settings; of a folder also its files.
std::vector<BasicString> ListFiles(const ComponentConfiguration& configuration)
{
    std::vector<BasicString> paths;
    // The loader looks for a name without a folder in those of the system.
    if (configuration.libraryPath.find('/') != BasicString::npos)
    {
        paths.push_back(configuration.libraryPath);
    }
    if (configuration.settingsPath.empty())
    {
        return paths;
    }
    paths.push_back(configuration.settingsPath);
    try
    {
        const auto files = System::Commons::Xml::MultiXmlConfigDocument::ListFiles(configuration.settingsPath);
        paths.insert(paths.end(), files.begin(), files.end());
    }
    catch (const System::Commons::XmlException&)
    {
        // A folder without such files is for the component to report.
    }
    return paths;
}

} // namespace

void ReadComponentConfigurations(XmlElementReader& element, std::vector<ComponentConfiguration>& components)
{
    const auto readComponent = [&components](XmlElementReader& child)
    {
        ComponentConfiguration component;
        child.ReadRequired("name", component.name);
        child.ReadRequired("library", component.libraryPath);
        component.componentName = component.name;
        child.Read("component", component.componentName);
        child.Read("settings", component.settingsPath);
        component.position = child.GetPosition();
        child.RequireNew("name", component.name, components, &ComponentConfiguration::name);
        components.push_back(std::move(component));
    };
    element.ReadList("Component", readComponent);
}

void RequireTrustedFiles(const ComponentConfiguration& configuration)
{
    for (const BasicString& path : ListFiles(configuration))
    {
        if (const auto weakness = System::Commons::FindOptionalPathWeakness(path))
        {
            throw System::Commons::InvalidOperationException::Create("other users could change what it does: {0}",
                                                                     *weakness);
        }
    }
}

} // namespace Oxa::System::Acf
