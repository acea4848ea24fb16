#pragma once

namespace Oxa::Host
{

struct CommandLine;

namespace Configuration
{
struct HostConfiguration;
}

/// Carries out "audit list" or "audit verify", which also work while the host runs, prints the result and returns the
/// exit status. When root runs it, it first becomes the owner of the trail's folder. Throws ConfigurationException or
/// TemporaryException, naming the cause, when the trail cannot be read.
[[nodiscard]] int RunAuditCommand(const CommandLine& commandLine,
                                  const Configuration::HostConfiguration& configuration);

} // namespace Oxa::Host
