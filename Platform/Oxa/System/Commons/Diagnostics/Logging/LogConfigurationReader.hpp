#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Xml/XmlElementRules.hpp"

namespace Oxa::System::Commons::Diagnostics::Logging
{

/// Lets a configuration document have the elements "Log" (level, target, file) and "Log/Level" (prefix, level), which
/// fill `configuration`. That is borrowed as long as the rules are used.
OXA_EXPORT void AddLogRules(Xml::XmlElementRules& rules, LogConfiguration& configuration);

} // namespace Oxa::System::Commons::Diagnostics::Logging
