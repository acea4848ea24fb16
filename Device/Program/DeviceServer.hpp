#pragma once

#include "Device/Program/DeviceServerConfiguration.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Device::Linux::Program
{

/// A listening socket that systemd handed to the process, or none. Throws InvalidOperationException when what it
/// handed over is not exactly one listening Unix socket.
[[nodiscard]] System::Commons::FileDescriptor TakeActivationSocket();

/// Loads the components and offers what they provide until SIGTERM or SIGINT. Throws XmlException when no component
/// came up, InvalidOperationException when nothing can be offered. Threads: the main thread only.
void ServeDevice(System::Commons::AppDomain& appDomain, const DeviceServerConfiguration& configuration);

} // namespace Oxa::Device::Linux::Program
