#pragma once

#include "Oxa/System/Acf/ComponentConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogConfiguration.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"

#include <vector>

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Device::Linux::Program
{

/// The configuration file of `oxa-device`. A value type.
struct DeviceServerConfiguration
{
    System::Commons::Diagnostics::Logging::LogConfiguration log;
    System::Rsc::RscServerConfiguration server;
    std::vector<System::Acf::ComponentConfiguration> components;
};

/// Throws XmlException, naming file, line and cause, for a file that cannot be read or has a mistake. Placeholders
/// resolve from the process's application domain and the environment.
[[nodiscard]] DeviceServerConfiguration LoadDeviceServerConfiguration(const BasicString& path);

/// Loads the components and offers their services until SIGTERM or SIGINT. Throws ConfigurationException when no
/// component started, InvalidOperationException when the server's socket cannot be used or the service manager
/// passed anything but one listening Unix socket. Threads: the main thread only.
void ServeDevice(System::Commons::AppDomain& appDomain, const DeviceServerConfiguration& configuration);

} // namespace Oxa::Device::Linux::Program
