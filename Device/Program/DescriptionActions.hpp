#pragma once

#include "Device/Program/DeviceCommandLine.hpp"

#include <ostream>

namespace Oxa::Device::Linux::Program
{

/// Does what the command line asks for, except to serve, and returns the exit status: 0, or 1 when a check found a
/// mistake or an item that was to be read has no value.
/// Checks write each mistake and warning on a line of its own, then "… is in order" when there is no mistake; a check
/// of a description with a root then reads every item. A check of the configuration checks the descriptions as well;
/// nothing is loaded or started. Items are read by the given description, else by that of the component "Linux" in the
/// configuration, else by that of the first component with settings.
/// Throws ArgumentException when the root is not a folder, XmlException and ConfigurationException when what is to be
/// read cannot be used. Requires: the process's application domain has its variables.
[[nodiscard]] int RunAction(const DeviceCommandLine& commandLine, std::ostream& output);

} // namespace Oxa::Device::Linux::Program
