#pragma once

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <string_view>

namespace Oxa::System::Um::Internal
{

/// What every failure of the user database says.
[[nodiscard]] inline System::Commons::InvalidOperationException MakeDatabaseError(const BasicString& path,
                                                                                  std::string_view cause)
{
    return System::Commons::InvalidOperationException::Create("cannot use the user database '{0}': {1}", path, cause);
}

} // namespace Oxa::System::Um::Internal
