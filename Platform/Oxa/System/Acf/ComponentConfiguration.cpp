#include "Oxa/System/Acf/ComponentConfiguration.hpp"

#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <utility>

namespace Oxa::System::Acf
{

using System::Commons::Xml::XmlElementReader;

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

} // namespace Oxa::System::Acf
