#pragma once

#include "Oxa/System/Commons/Types.hpp"

#include <optional>

namespace Oxa::Host::Modules
{

/// Tells one run of the device's services from another one. A value type.
struct DeviceIdentity
{
    /// Empty when the device has none; then nothing can be told.
    BasicString bootId;
    /// Empty when the device has none.
    BasicString buildId;

    bool operator==(const DeviceIdentity&) const = default;
};

/// Empty when the device does not tell at the moment. Throws RscServiceException when its services go away meanwhile.
[[nodiscard]] BasicString ReadBootId();

/// Nothing when the device cannot be asked, for whatever reason.
[[nodiscard]] std::optional<DeviceIdentity> TryReadDeviceIdentity() noexcept;

/// Whose identity that is: the provider of the device status service.
[[nodiscard]] const BasicString& GetIdentityProvider();

} // namespace Oxa::Host::Modules
