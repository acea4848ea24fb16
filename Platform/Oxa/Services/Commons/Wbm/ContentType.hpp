#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Services::Commons::Wbm
{

enum class ContentType : uint8
{
    None = 0,
    Text = 1,
    Application = 2
};

enum class ContentSubtype : uint8
{
    None = 0,
    Plain = 1,
    Json = 2
};

enum class CharsetType : uint8
{
    None = 0,
    Utf8 = 1
};

} // namespace Oxa::Services::Commons::Wbm
