#pragma once

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <functional>
#include <string_view>
#include <variant>

namespace Oxa::System::Commons
{

class AppDomain;

/// Exit statuses, those of sysexits.h: EX_USAGE, EX_TEMPFAIL and EX_CONFIG.
inline constexpr int usageFaultStatus = 64;
inline constexpr int temporaryFaultStatus = 75;
inline constexpr int configurationFaultStatus = 78;

/// What the parser of a program's command line gives: what the program is to do, or its exit status. There is only the
/// status when the command line was wrong or asked for help or the version; the user has been told by then.
template <class CommandLine>
using CommandLineOrStatus = std::variant<CommandLine, int>;

/// Runs the main part of a program in an application domain of the program's name, which is the process's one
/// meanwhile, and returns its exit status. What escapes it is told on standard error: an XmlException, with its
/// position, and a ConfigurationException are faults of the configuration, a TemporaryException is a temporary fault,
/// everything else is a failure. A crash is reported on standard error as well. A reader of the output that goes away
/// does not end the program. Requires: called once, by main.
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

/// Calls `use`, which uses something that the configuration names, and returns what it returns. When that cannot be
/// used (InvalidOperationException), throws a ConfigurationException with the same text. What may pass
/// (TemporaryException) is no fault of the configuration.
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

/// Prints the progress of a server on standard output; a reader that does not read does not stop it.
OXA_EXPORT void PrintStatus(std::string_view text) noexcept;

/// Writes out what standard output still holds back. Throws InvalidOperationException when something of all that was
/// written has not gone out, for instance because the disk is full. To be called last, by programs whose output is what
/// they were started for.
OXA_EXPORT void FlushOutput();

} // namespace Oxa::System::Commons
