#include "Oxa/System/Acf/ComponentConfiguration.hpp"

#include <algorithm>
#include <utility>

namespace Oxa::System::Acf
{

using System::Commons::Xml::XmlElementReader;

namespace
{

void ReadComponent(const XmlElementReader& element, std::vector<ComponentConfiguration>& components)
{
    element.RequireOnly({"name", "library", "component", "settings"});
    ComponentConfiguration component;
    element.ReadRequired("name", component.name);
    element.ReadRequired("library", component.libraryPath);
    component.componentName = component.name;
    element.Read("component", component.componentName);
    element.Read("settings", component.settingsPath);
    component.position = element.GetPosition();
    if (std::ranges::any_of(components, [&component](const auto& each) { return each.name == component.name; }))
    {
        element.ThrowBadValue("name", component.name, "a name that is not taken");
    }
    components.push_back(std::move(component));
}

} // namespace

void AddComponentRules(System::Commons::Xml::XmlElementRules& rules, std::vector<ComponentConfiguration>& components)
{
    rules.Add("Components", [](const XmlElementReader& element) { element.RequireOnly({}); });
    rules.Add("Components/Component",
              [&components](const XmlElementReader& element) { ReadComponent(element, components); });
}

} // namespace Oxa::System::Acf
