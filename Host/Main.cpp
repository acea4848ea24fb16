#include "Host/CommandLine.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/ConfigurationCheck.hpp"
#include "Host/Examples.hpp"
#include "Host/InitialUser.hpp"
#include "Host/StateFolder.hpp"
#include "Host/UserCommands.hpp"
#include "Host/WbmHost.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Threading/EndSignals.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace
{

using Oxa::BasicString;
using Oxa::Host::CommandLine;
using Oxa::Host::Configuration::HostConfiguration;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Commons::PrintStatus;
using Oxa::System::Commons::UseConfigured;
using Oxa::System::Commons::Diagnostics::Logging::LogConfiguration;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;
using Oxa::System::Commons::Threading::EndSignals;
using Oxa::System::Um::UserManager;

/// The password itself only to somebody who looks on, not into a log.
void ReportInitialUser(const BasicString& password, const BasicString& path)
{
    const bool isShown = isatty(STDOUT_FILENO) == 1;
    PrintStatus(BasicString("created the user '") + Oxa::Host::initialUserName + "' with the password " +
                (isShown ? password + " (kept in '" + path + "')" : "in '" + path + '\'') + '\n');
}

/// Makes the database when there is none.
std::unique_ptr<UserManager> OpenUsers(const BasicString& path)
{
    return UseConfigured(
        [&path]
        {
            UserManager::CreateDatabase(path);
            return std::make_unique<UserManager>(path);
        });
}

void Serve(const CommandLine& commandLine, const HostConfiguration& configuration, AppDomain& appDomain)
{
    // For requests to finish, and as long again for modules and components to stop.
    EndSignals::Watch(2 * configuration.http.shutdownTimeout);
    UseConfigured([&configuration] { LogManager::Configure(configuration.log); });
    const Oxa::Host::StateFolder stateFolder(commandLine.stateFolder);
    stateFolder.Create();
    const auto users = OpenUsers(configuration.usersDatabasePath);
    const BasicString password = CreateInitialUser(*users, stateFolder);
    if (!password.empty() && !commandLine.printsExamples)
    {
        ReportInitialUser(password, stateFolder.GetInitialPasswordPath());
    }
    Oxa::Host::WbmHost host(appDomain, configuration, *users);
    host.Run(
        [&](Oxa::uint16 port)
        {
            const BasicString address = Oxa::Host::FormatAddress(configuration.http.address, port);
            PrintStatus("listening on " + address + '\n');
            if (commandLine.printsExamples)
            {
                PrintStatus(Oxa::Host::FormatExamples(address, stateFolder, commandLine.logPath));
            }
            sd_notify(0, ("READY=1\nSTATUS=listening on " + address).c_str());
        });
}

int Run(const CommandLine& commandLine, AppDomain& appDomain)
{
    if (sodium_init() < 0)
    {
        throw InvalidOperationException::Create("the system has no random numbers");
    }
    // A variable of the command line may replace it.
    appDomain.SetVariable("OXA_STATE", std::filesystem::absolute(commandLine.stateFolder).string());
    SetProgramVariables(appDomain, commandLine.configurationPath, commandLine.variables);
    HostConfiguration configuration = Oxa::Host::Configuration::LoadHostConfiguration(commandLine.configurationPath);
    configuration.http.port = commandLine.port.value_or(configuration.http.port);
    if (!commandLine.logPath.empty())
    {
        configuration.log.target = LogConfiguration::Target::File;
        configuration.log.filePath = commandLine.logPath;
    }
    LogManager::AssignAppDomain(appDomain);
    if (commandLine.action == CommandLine::Action::Check)
    {
        return CheckConfiguration(appDomain, configuration, Oxa::Host::StateFolder(commandLine.stateFolder));
    }
    if (commandLine.action != CommandLine::Action::Serve)
    {
        const int status = RunUserCommand(commandLine, configuration);
        Oxa::System::Commons::FlushOutput();
        return status;
    }
    Serve(commandLine, configuration, appDomain);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char** argv)
{
    return Oxa::System::Commons::RunProgram(
        "oxa-wbm", [argc, argv] { return Oxa::Host::ParseCommandLine(argc, argv); }, &Run);
}
