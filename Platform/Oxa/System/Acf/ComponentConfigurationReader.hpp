#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <vector>

namespace Oxa::System::Acf
{

/// Reads an element "Components" of a configuration: its children "Component" (name, library, component, settings).
OXA_EXPORT void ReadComponentConfigurations(System::Commons::Xml::XmlElementReader& element,
                                            std::vector<ComponentConfiguration>& components);

} // namespace Oxa::System::Acf
