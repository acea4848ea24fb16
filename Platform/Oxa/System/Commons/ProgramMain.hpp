#pragma once

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <functional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace Oxa::System::Commons
{

class AppDomain;

/// Exit statuses, those of sysexits.h: EX_USAGE, EX_TEMPFAIL and EX_CONFIG.
inline constexpr int usageFaultStatus = 64;
inline constexpr int temporaryFaultStatus = 75;
inline constexpr int configurationFaultStatus = 78;

/// The result of parsing a program's command line: the task, or the exit status when the command line was wrong or
/// asked for help or the version, which the parser has then printed.
template <class CommandLine>
using CommandLineOrStatus = std::variant<CommandLine, int>;

/// Runs the main part of a program in an application domain of the program's name, which is the process's domain
/// meanwhile, and returns its exit status. An exception that escapes is reported on standard error: an XmlException,
/// with its position, and a ConfigurationException are faults of the configuration, a TemporaryException is a temporary
/// fault, everything else is a failure. A crash is reported on standard error as well. Closing the other side of the
/// output does not end the program. Requires: called once, by main.
[[nodiscard]] OXA_EXPORT int RunProgram(const char* programName, const std::function<int(AppDomain&)>& run);

/// As above, for a program with a command line. `parse()` gives a CommandLineOrStatus, `run(commandLine, appDomain)`
/// the exit status.
template <class Parse, class Run>
[[nodiscard]] int RunProgram(const char* programName, const Parse& parse, const Run& run)
{
    return RunProgram(programName,
                      [&parse, &run](AppDomain& appDomain)
                      {
                          const auto parsed = parse();
                          const auto* const commandLine = std::get_if<0>(&parsed);
                          return commandLine != nullptr ? run(*commandLine, appDomain) : std::get<1>(parsed);
                      });
}

/// Calls `use`, which uses something that the configuration names, and returns its result. Turns an
/// InvalidOperationException into a ConfigurationException with the same text; a TemporaryException is no fault of the
/// configuration and is passed on.
template <class Use>
auto UseConfigured(const Use& use)
{
    try
    {
        return use();
    }
    catch (const InvalidOperationException& exception)
    {
        throw ConfigurationException(exception.GetMessage());
    }
}

/// Variables that the configuration documents of a program may name.
using ProgramVariables = std::vector<std::pair<BasicString, BasicString>>;

/// An error text for an argument that is not "NAME=VALUE"; empty for one that is.
[[nodiscard]] OXA_EXPORT BasicString FindVariableMistake(const BasicString& text);

/// The names and values of texts "NAME=VALUE". Requires: `FindVariableMistake` finds none in any of them.
[[nodiscard]] OXA_EXPORT ProgramVariables SplitVariables(const std::vector<BasicString>& texts);

/// Sets in the application domain OXA_CONFIG, the folder of the configuration file, OXA_LIBRARIES, the folder of the
/// libraries that belong to the running program, and then `variables`, which may replace those.
OXA_EXPORT void SetProgramVariables(AppDomain& appDomain, const BasicString& configurationPath,
                                    const ProgramVariables& variables);

/// Prints the progress of a server on standard output; a reader that does not read does not block it.
OXA_EXPORT void PrintStatus(std::string_view text) noexcept;

/// Flushes standard output. Throws InvalidOperationException when any of the output was lost, for instance because the
/// disk is full. To be called last, by programs whose output is their purpose.
OXA_EXPORT void FlushOutput();

/// Releases memory that the program does not use now: the allocator's reserve, and the pages of program and libraries,
/// of which those that are used again are reloaded on demand, in less than a millisecond. To be called after work that
/// is rare and touches much, such as the start and a log-in. Threads: safe from any thread.
OXA_EXPORT void ReleaseUnusedMemory() noexcept;

} // namespace Oxa::System::Commons
