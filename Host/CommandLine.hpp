#pragma once

#include "Oxa/System/Commons/ProgramVariables.hpp"
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
        AddUser,
        ListUsers,
        RemoveUser,
        SetPassword
    };

    Action action = Action::Serve;
    BasicString configurationPath;
    BasicString stateFolder;
    /// Instead of the configuration's.
    std::optional<uint16> port;
    System::Commons::ProgramVariables variables;
    bool printsExamples = false;
    BasicString userName;
    BasicString roleName;
};

/// Nothing when the command line only asked for help or is wrong: that has been told, and `exitStatus` is set.
[[nodiscard]] std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitStatus);

} // namespace Oxa::Host
