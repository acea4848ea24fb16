#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

namespace Oxa
{

enum class DateTimeKind : uint8
{
    Unspecified = 0,
    Utc = 1,
    Local = 2
};

/// A point in time: 62 bits of 100 ns ticks since 0001-01-01T00:00:00 and, in the top two bits, the kind.
/// A value type, safe to copy between threads and processes.
class OXA_EXPORT DateTime final
{
public:
    /// Zero ticks, kind Unspecified: "no time".
    constexpr DateTime() noexcept = default;

    DateTime(uint64 ticks, DateTimeKind kind) noexcept
        : value((ticks & ticksMask) | (static_cast<uint64>(kind) << kindShift))
    {
    }

    /// From the 64 bits of `GetValue`.
    [[nodiscard]] static DateTime FromValue(uint64 value) noexcept
    {
        DateTime result;
        result.value = value;
        return result;
    }

    /// Kind Utc. Times before 0001-01-01 and beyond 62 bits of ticks become zero ticks.
    [[nodiscard]] static DateTime FromUnixTimeMicroseconds(int64 microseconds) noexcept;

    [[nodiscard]] uint64 GetTicks() const noexcept
    {
        return value & ticksMask;
    }

    [[nodiscard]] DateTimeKind GetKind() const noexcept
    {
        return static_cast<DateTimeKind>(value >> kindShift);
    }

    /// Ticks and kind together.
    [[nodiscard]] uint64 GetValue() const noexcept
    {
        return value;
    }

    /// Negative before 1970-01-01. Parts of a microsecond are dropped towards the past.
    [[nodiscard]] int64 ToUnixTimeMicroseconds() const noexcept;

    /// For instance "2026-11-21T09:26:00.5000000Z"; the Z only for kind Utc.
    [[nodiscard]] BasicString ToIso8601String() const;

    bool operator==(const DateTime&) const noexcept = default;

private:
    static constexpr unsigned kindShift = 62;
    static constexpr uint64 ticksMask = (uint64{1} << kindShift) - 1;

    uint64 value = 0;
};

} // namespace Oxa
