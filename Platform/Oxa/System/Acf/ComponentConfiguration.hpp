#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"

#include <vector>

namespace Oxa::System::Acf
{

/// One component of a process, as its configuration names it.
struct ComponentConfiguration
{
    /// Unique in the process; identifies the component in messages and is passed to it.
    BasicString name;
    BasicString libraryPath;
    /// The name of the component in its library.
    BasicString componentName;
    /// Passed on to the component; may be empty.
    BasicString settingsPath;
    /// "FILE:LINE" of the element, for messages.
    BasicString position = {};
};

/// Adds the elements "Components" and "Components/Component" (name, library, component, settings) to a configuration
/// document. They are appended to `components`, which must outlive the rules.
OXA_EXPORT void AddComponentRules(System::Commons::Xml::XmlElementRules& rules,
                                  std::vector<ComponentConfiguration>& components);

} // namespace Oxa::System::Acf
