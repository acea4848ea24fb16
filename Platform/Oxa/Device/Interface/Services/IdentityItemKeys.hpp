#pragma once

namespace Oxa::Device::Interface::Services
{

/// The item that tells two runs of a device apart: a text, another one after every restart.
inline constexpr const char* bootIdKey = "Status.System.BootId";

/// The item that tells devices of different programs or descriptions apart: a text, the same after every restart.
inline constexpr const char* buildIdKey = "Status.System.BuildId";

} // namespace Oxa::Device::Interface::Services
