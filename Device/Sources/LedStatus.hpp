#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::Device::Linux::Sources
{

/// The low 16 bits of a LED's status word.
enum class LedState : uint16
{
    Off = 0,
    On = 1,
    SlowBlinking = 2,
    FastBlinking = 3
};

/// The high 16 bits of a LED's status word.
enum class LedColour : uint16
{
    Unknown = 0,
    Green = 1,
    Yellow = 2,
    Red = 3,
    Blue = 4,
    White = 5
};

[[nodiscard]] constexpr uint32 MakeLedWord(LedState state, LedColour colour) noexcept
{
    return static_cast<uint32>(colour) << 16U | static_cast<uint32>(state);
}

} // namespace Oxa::Device::Linux::Sources
