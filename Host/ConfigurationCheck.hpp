#pragma once

namespace Oxa::System::Commons
{
class AppDomain;
}

namespace Oxa::Host
{

namespace Configuration
{
struct HostConfiguration;
}

class StateFolder;

/// Checks that everything that the configuration names can be used: address, log file, page, users, the libraries of
/// components and modules, and their settings; for these, modules and components are created and set up, but components
/// are not started. Writes every fault to standard error, with file and line. Changes nothing. Returns the exit status.
/// Requires: nothing of the process logs or uses services yet.
[[nodiscard]] int CheckConfiguration(System::Commons::AppDomain& appDomain,
                                     const Configuration::HostConfiguration& configuration,
                                     const StateFolder& stateFolder);

} // namespace Oxa::Host
