#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Reads an element "Log" of a configuration (level, target, file) and its children "Level" (prefix, level).
OXA_EXPORT void ReadLogConfiguration(Xml::XmlElementReader& element, LogConfiguration& configuration);

} // namespace Oxa::System::Commons::Diagnostics::Logging
