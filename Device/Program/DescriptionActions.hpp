#pragma once

#include "Device/Program/DeviceCommandLine.hpp"

#include <ostream>

namespace Oxa::Device::Linux::Program
{

/// Writes every mistake and warning of the description on a line of its own; "… is in order" when there is no mistake,
/// and then, with a root, every item with its value or why it has none. The exit status: 0, or 1 for a mistake. Throws
/// ArgumentException when the root is no folder.
[[nodiscard]] int CheckDescription(const DeviceCommandLine& commandLine, std::ostream& output);

/// The same for the configuration: the document, the libraries that it names, and the descriptions of components of
/// this program's own library. Nothing is loaded or started.
[[nodiscard]] int CheckConfiguration(const DeviceCommandLine& commandLine, std::ostream& output);

/// Writes a description of the machine. Throws ArgumentException when the root is no folder.
void DescribeMachine(const DeviceCommandLine& commandLine, std::ostream& output);

/// Writes each item on a line of its own, by the given description, else by the one of the component "Linux" that the
/// configuration file names, else of the first component that has settings. The exit status: 0, or 1 when one of them
/// has no value. Throws XmlException or ConfigurationException when description or configuration cannot be used.
/// Requires: the process's application domain has its variables.
[[nodiscard]] int ReadItems(const DeviceCommandLine& commandLine, std::ostream& output);

} // namespace Oxa::Device::Linux::Program
