#pragma once

namespace Oxa::Host
{

struct CommandLine;

namespace Configuration
{
struct HostConfiguration;
}

/// Carries out one of the commands "user …", which also work while the host runs, says what it did and returns the exit
/// status. Changes are written to the audit log: where the host logs to its standard error, to syslog. Run by root, it
/// first becomes the owner of the database's folder, so that nothing there becomes root's.
/// Never makes a database. Throws what the user manager throws, and ConfigurationException when there is no database.
[[nodiscard]] int RunUserCommand(const CommandLine& commandLine, const Configuration::HostConfiguration& configuration);

} // namespace Oxa::Host
