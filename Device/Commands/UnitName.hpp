#pragma once

#include <string_view>

namespace Oxa::Device::Linux::Commands
{

/// Whether the text is the whole name of a systemd service or target that can be started, an instance of a template
/// included: "oxa-factory-reset.service", "reset@full.service".
[[nodiscard]] bool IsStartableUnitName(std::string_view name) noexcept;

} // namespace Oxa::Device::Linux::Commands
