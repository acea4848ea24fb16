#pragma once

namespace Oxa::Host
{

struct CommandLine;

namespace Configuration
{
struct HostConfiguration;
}

/// Carries out one of the commands "user …" and "token …", which also work while the host runs, prints the result and
/// returns the exit status. Changes are recorded, see CommandRecord. When root runs it, it first becomes the owner of
/// the database's folder, so that no file there becomes root's. A password comes from standard input, and the secret of
/// a new API token alone goes to standard output. Never makes a database. Throws what the user manager throws, and
/// ConfigurationException when there is no database or others can use it.
[[nodiscard]] int RunUserCommand(const CommandLine& commandLine, const Configuration::HostConfiguration& configuration);

} // namespace Oxa::Host
