#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"

#include <vector>

namespace Oxa::System::Acf
{

/// Lets a configuration document have the elements "Components" and "Components/Component" (name, library, component,
/// settings), which are added to `components`. That is borrowed as long as the rules are used.
OXA_EXPORT void AddComponentRules(System::Commons::Xml::XmlElementRules& rules,
                                  std::vector<ComponentConfiguration>& components);

} // namespace Oxa::System::Acf
