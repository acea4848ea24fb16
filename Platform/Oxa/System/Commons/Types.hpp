#pragma once

#include <cstdint>
#include <string>

namespace Oxa
{

/// The platform's text type: UTF-8, owned. Text from a device may hold any bytes; the JSON writer and the log make it
/// presentable.
using BasicString = std::string;

using int8 = std::int8_t;
using uint8 = std::uint8_t;
using int16 = std::int16_t;
using uint16 = std::uint16_t;
using int32 = std::int32_t;
using uint32 = std::uint32_t;
using int64 = std::int64_t;
using uint64 = std::uint64_t;

} // namespace Oxa
