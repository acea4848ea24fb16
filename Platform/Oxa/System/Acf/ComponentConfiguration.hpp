#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <vector>

namespace Oxa::System::Commons::Xml
{
class XmlElementReader;
}

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

/// Reads an element "Components" of a configuration: its children "Component" (name, library, component, settings).
OXA_EXPORT void ReadComponentConfigurations(System::Commons::Xml::XmlElementReader& element,
                                            std::vector<ComponentConfiguration>& components);

/// Throws InvalidOperationException when users other than root and the one of this process could change the library or
/// the settings, with the path and the cause (`FindOptionalPathWeakness`).
OXA_EXPORT void RequireTrustedFiles(const ComponentConfiguration& configuration);

} // namespace Oxa::System::Acf
