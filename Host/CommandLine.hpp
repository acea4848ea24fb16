#pragma once

#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <optional>

namespace Oxa::Host
{

/// The command line of `oxa-wbm`.
struct CommandLine
{
    enum class Action : uint8
    {
        Serve,
        Check,
        PrintFingerprint,
        AddUser,
        ListUsers,
        SetRole,
        DisableUser,
        EnableUser,
        SetPassword,
        RemoveUser,
        AddApiToken,
        ListApiTokens,
        RemoveApiToken,
        ListAudit,
        VerifyAudit
    };

    Action action = Action::Serve;
    BasicString configurationPath = "/etc/oxa/oxa-wbm.xml";
    BasicString stateFolder;
    /// Replaces that of the configuration.
    std::optional<uint16> port;
    /// A file that replaces the configuration's log target; empty: none does.
    BasicString logPath;
    System::Commons::ProgramVariables variables;
    bool printsExamples = false;
    /// Of the user or API token.
    BasicString name;
    BasicString roleName;
    /// For which a new API token is valid; nothing: it does not expire.
    std::optional<uint32> days;
    /// Of "audit list", as they were given; empty: no bound.
    BasicString auditUserName;
    BasicString auditAction;
    BasicString auditFrom;
    BasicString auditTo;
    std::size_t auditLimit = 50;
};

/// Prints mistakes in the command line, help or the version; the result is then the exit status.
[[nodiscard]] System::Commons::CommandLineOrStatus<CommandLine> ParseCommandLine(int argc, const char* const* argv);

} // namespace Oxa::Host
