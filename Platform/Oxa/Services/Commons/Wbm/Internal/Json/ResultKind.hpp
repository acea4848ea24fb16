#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Commons::Wbm::Internal::Json
{

/// What the payload of an answer is; clients read the number.
enum class ResultKind : uint8
{
    None = 0,
    Object = 1,
    Array = 2,
    Text = 3,
    Boolean = 4
};

} // namespace Oxa::Services::Commons::Wbm::Internal::Json
