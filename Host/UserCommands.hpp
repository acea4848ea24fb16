#pragma once

namespace Oxa::System::Um
{
class UserManager;
}

namespace Oxa::Host
{

struct CommandLine;
class StateFolder;

/// Carries out one of the commands "user …", which also work while the host runs, and returns the exit status. Reads
/// passwords from standard input, one line, without echo on a terminal. Throws what the user manager throws.
[[nodiscard]] int RunUserCommand(const CommandLine& commandLine, System::Um::UserManager& users,
                                 const StateFolder& stateFolder);

} // namespace Oxa::Host
