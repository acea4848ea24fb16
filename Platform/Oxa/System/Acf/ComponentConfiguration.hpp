#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Acf
{

/// One component of a process, as its configuration names it.
struct ComponentConfiguration
{
    /// Of this component in this process, given once; messages name it so, and the component is told it.
    BasicString name;
    BasicString libraryPath;
    /// Under which the library knows it.
    BasicString componentName;
    /// Handed on to the component; empty when it has none.
    BasicString settingsPath;
    /// "FILE:LINE" of the element, for messages.
    BasicString position = {};
};

} // namespace Oxa::System::Acf
