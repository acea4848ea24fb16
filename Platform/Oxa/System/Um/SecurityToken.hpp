#pragma once

#include "Oxa/System/Commons/Types.hpp"

namespace Oxa::System::Um
{

/// The permission bit that roles hold on objects: to run a request that changes something.
inline constexpr uint32 executePermission = 0x1000;

/// Stands for one login of one user. A value type; 0 means not logged in.
class SecurityToken final
{
public:
    constexpr SecurityToken() noexcept = default;

    constexpr explicit SecurityToken(uint32 value) noexcept : value(value) {}

    [[nodiscard]] constexpr uint32 GetValue() const noexcept
    {
        return value;
    }

    bool operator==(const SecurityToken&) const noexcept = default;

private:
    uint32 value = 0;
};

} // namespace Oxa::System::Um
