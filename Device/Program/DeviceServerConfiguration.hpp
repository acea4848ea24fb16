#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"

#include <vector>

namespace Oxa::Device::Linux::Program
{

/// Everything that `oxa-device` is told by its configuration file. A value type.
struct DeviceServerConfiguration
{
    System::Commons::Diagnostics::Logging::LogConfiguration log;
    System::Rsc::RscServerConfiguration server;
    std::vector<System::Acf::ComponentConfiguration> components;
};

/// Throws XmlException, naming file, line and cause, for a file that cannot be read or does not say what it has to.
/// Placeholders resolve from the process's application domain and the environment.
[[nodiscard]] DeviceServerConfiguration LoadDeviceServerConfiguration(const BasicString& path);

} // namespace Oxa::Device::Linux::Program
