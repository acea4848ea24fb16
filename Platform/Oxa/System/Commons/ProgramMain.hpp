#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <functional>

namespace Oxa::System::Commons
{

class AppDomain;

/// Exit statuses, those of sysexits.h: EX_USAGE and EX_CONFIG.
inline constexpr int usageFaultStatus = 64;
inline constexpr int configurationFaultStatus = 78;

/// Runs the main part of a program in an application domain of the program's name, which is the process's one
/// meanwhile, and returns its exit status. What escapes it is told on standard error: an XmlException with its position
/// is a fault of the configuration, everything else a failure. A reader of the output that goes away does not end the
/// program. Requires: called once, by main.
[[nodiscard]] OXA_EXPORT int RunProgram(const char* programName, const std::function<int(AppDomain&)>& run);

} // namespace Oxa::System::Commons
