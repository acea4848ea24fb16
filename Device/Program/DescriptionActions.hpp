#pragma once

#include "Device/Program/DeviceCommandLine.hpp"

#include <ostream>

namespace Oxa::Device::Linux::Program
{

/// Writes every mistake of the description on a line of its own; "… is in order" when there is none. The exit status: 0
/// or 1.
[[nodiscard]] int CheckDescription(const DeviceCommandLine& commandLine, std::ostream& output);

/// Writes a description of the machine. Throws ArgumentException when the root is no folder.
void DescribeMachine(const DeviceCommandLine& commandLine, std::ostream& output);

/// Writes each item on a line of its own, by the given description, else by the one of the component "Linux" that the
/// configuration file names, else of the first component that has settings. The exit status: 0, or 1 when one of them
/// has no value. Throws XmlException or ConfigurationException when description or configuration cannot be used.
/// Requires: the process's application domain has its variables.
[[nodiscard]] int ReadItems(const DeviceCommandLine& commandLine, std::ostream& output);

} // namespace Oxa::Device::Linux::Program
