#pragma once

#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <optional>

namespace Oxa::Host
{

/// What `oxa-wbm` is asked to do.
struct CommandLine
{
    enum class Action : uint8
    {
        Serve,
        Check,
        AddUser,
        ListUsers,
        RemoveUser,
        SetPassword
    };

    Action action = Action::Serve;
    BasicString configurationPath = "/etc/oxa/oxa-wbm.xml";
    BasicString stateFolder;
    /// Instead of the configuration's.
    std::optional<uint16> port;
    /// A file instead of the configuration's log target; empty: that.
    BasicString logPath;
    System::Commons::ProgramVariables variables;
    bool printsExamples = false;
    BasicString userName;
    BasicString roleName;
};

/// Tells the user what is wrong with the command line, or what it asks for itself: help, version.
[[nodiscard]] System::Commons::CommandLineOrStatus<CommandLine> ParseCommandLine(int argc, const char* const* argv);

} // namespace Oxa::Host
