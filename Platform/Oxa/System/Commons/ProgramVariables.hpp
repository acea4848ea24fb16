#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <utility>
#include <vector>

namespace Oxa::System::Commons
{

class AppDomain;

/// What configuration documents of a program can name.
using ProgramVariables = std::vector<std::pair<BasicString, BasicString>>;

/// What is wrong with a text of the command line that has to be "NAME=VALUE"; empty when nothing is.
[[nodiscard]] OXA_EXPORT BasicString FindVariableMistake(const BasicString& text);

/// The names and values of texts "NAME=VALUE". Requires: no mistake in any of them.
[[nodiscard]] OXA_EXPORT ProgramVariables SplitVariables(const std::vector<BasicString>& texts);

/// Gives the application domain OXA_CONFIG, the folder that the configuration file lies in, OXA_LIBRARIES, the folder
/// of the libraries beside the running program's own, and then `variables`, which may replace those.
OXA_EXPORT void SetProgramVariables(AppDomain& appDomain, const BasicString& configurationPath,
                                    const ProgramVariables& variables);

} // namespace Oxa::System::Commons
