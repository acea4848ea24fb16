#include "Host/AuditCommands.hpp"
#include "Host/CommandLine.hpp"
#include "Host/CommandRecord.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/ConfigurationCheck.hpp"
#include "Host/Http/HostNames.hpp"
#include "Host/ResourceLimits.hpp"
#include "Host/StateFolder.hpp"
#include "Host/Tls/Encryption.hpp"
#include "Host/UserCommands.hpp"
#include "Host/WbmHost.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Threading/EndSignals.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using Oxa::BasicString;
using Oxa::Host::CommandLine;
using Oxa::Host::StateFolder;
using Oxa::Host::Configuration::HostConfiguration;
using Oxa::Host::Http::FormatOrigin;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Commons::PrintStatus;
using Oxa::System::Commons::UseConfigured;
using Oxa::System::Commons::Diagnostics::Logging::LogConfiguration;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;
using Oxa::System::Commons::Text::Format;
using Oxa::System::Commons::Threading::EndSignals;
using Oxa::System::Um::UserManager;

/// The certificate that the server would offer: its SHA-256, two spaces, its file.
void PrintFingerprint(const HostConfiguration& configuration)
{
    if (!configuration.http.isSecure)
    {
        throw InvalidOperationException::Create("the server uses plain HTTP at '{0}': it has no certificate",
                                                configuration.http.address);
    }
    Oxa::Host::BecomeOwner(configuration.http.certificatesPath);
    Oxa::System::Nm::NotificationManager notifications;
    const auto certificates = Oxa::Host::Tls::OpenCertificateStore(configuration.http, notifications);
    std::vector<BasicString> faults;
    const auto found = certificates->Find(faults);
    for (const BasicString& fault : faults)
    {
        std::cerr << "oxa-wbm: a certificate cannot be used: " << fault << '\n';
    }
    if (found.path.empty())
    {
        throw InvalidOperationException::Create("there is no certificate in '{0}': the server makes one when it starts",
                                                configuration.http.certificatesPath);
    }
    std::cout << found.fingerprint << "  " << found.path << '\n';
}

/// For a shell.
BasicString Quote(const BasicString& path)
{
    BasicString quoted = "'";
    for (const char character : path)
    {
        quoted += character == '\'' ? BasicString("'\\''") : BasicString(1, character);
    }
    return quoted + "'";
}

/// Where and as whom to log in, and shell commands that do it and use the interface. As long as the first password is
/// kept, it is named, and the first command replaces it.
BasicString FormatExamples(std::string_view address, const CommandLine& commandLine, const StateFolder& stateFolder)
{
    constexpr std::string_view examples = R"sh(
Web-based management, until Ctrl-C:
    address    {0}
    user       {1}
    password   {2}
    log        {3}
{4}Log in and keep the token:
    TOKEN=$({{ read -rsp Password: P; echo "$P"; }} | sed 's/.*/{{"user":"{1}","password":"&"}}/' | curl -fsS -H 'Content-Type: application/json' -d @- {0}/api/v1/session | sed 's/.*"token":"\([^"]*\)".*/\1/')
Read everything about this device:
    curl -fsS -H "Authorization: Bearer $TOKEN" '{0}/api/v1/DeviceInterfaceDp/GetDataSections?GeneralData&DateTime&Health&StatusIndicators&Utilization'
Restart it (simulated under ./run):
    curl -fsS -X POST -H "Authorization: Bearer $TOKEN" {0}/api/v1/DeviceInterfaceControlDp/RestartController

)sh";
    constexpr std::string_view firstStep = R"sh(Set a password of your own, with 12 characters or more:
    {0} --config {1} --state {2} user set-password {3}
)sh";
    const BasicString password = stateFolder.ReadInitialPassword();
    const bool isKnown = !password.empty();
    const auto absolute = [](const BasicString& path)
    {
        return Quote(std::filesystem::absolute(path).string());
    };
    return Format(examples, address, Oxa::Host::initialUserName,
                  isKnown ? password + " (must be changed first)"
                          : BasicString("the one that was set since the first start"),
                  commandLine.logPath.empty() ? "where the configuration says" : commandLine.logPath,
                  isKnown ? Format(firstStep, absolute(std::filesystem::read_symlink("/proc/self/exe").string()),
                                   absolute(commandLine.configurationPath), absolute(stateFolder.GetPath()),
                                   Oxa::Host::initialUserName)
                          : BasicString());
}

/// Shows the password itself on a terminal only, not in a log.
void ReportInitialUser(const StateFolder& stateFolder)
{
    const bool isShown = isatty(STDOUT_FILENO) == 1;
    const BasicString& path = stateFolder.GetInitialPasswordPath();
    const BasicString password = isShown ? stateFolder.ReadInitialPassword() : BasicString();
    PrintStatus(BasicString("created the user '") + Oxa::Host::initialUserName + "' with the password " +
                (isShown ? password + " (kept in '" + path + "')" : "in '" + path + '\'') + '\n');
}

/// Makes the database when it does not exist.
std::unique_ptr<UserManager> OpenUsers(const BasicString& path)
{
    return UseConfigured(
        [&path]
        {
            UserManager::CreateDatabase(path);
            Oxa::Host::CheckUserDatabase(path);
            return std::make_unique<UserManager>(path);
        });
}

/// With what the command line replaces.
HostConfiguration LoadConfiguration(const CommandLine& commandLine)
{
    HostConfiguration configuration = Oxa::Host::Configuration::LoadHostConfiguration(commandLine.configurationPath);
    configuration.http.port = commandLine.port.value_or(configuration.http.port);
    if (!commandLine.logPath.empty())
    {
        configuration.log.target = LogConfiguration::Target::File;
        configuration.log.filePath = commandLine.logPath;
    }
    if (configuration.http.certificatesPath.empty())
    {
        configuration.http.certificatesPath = commandLine.stateFolder + "/certs.d";
    }
    return configuration;
}

void Serve(const CommandLine& commandLine, HostConfiguration& configuration, AppDomain& appDomain)
{
    Oxa::Host::Reload::BlockSignal();
    // For requests to finish, and the same time again for modules and components to stop.
    EndSignals::Watch(2 * configuration.http.shutdownTimeout);
    UseConfigured([&configuration] { LogManager::Configure(configuration.log); });
    Oxa::Host::FitToProcess(configuration.http);
    auto modules =
        UseConfigured([&configuration] { return Oxa::Host::Modules::LoadModuleManifests(configuration.modules); });
    const StateFolder stateFolder(commandLine.stateFolder);
    stateFolder.Create();
    const auto users = OpenUsers(configuration.usersDatabasePath);
    if (stateFolder.CreateInitialUser(*users) && !commandLine.printsExamples)
    {
        ReportInitialUser(stateFolder);
    }
    Oxa::Host::WbmHost host(
        appDomain, configuration, [&commandLine] { return LoadConfiguration(commandLine); }, std::move(modules), *users,
        stateFolder);
    host.Run(
        [&](Oxa::uint16 port)
        {
            const BasicString address = FormatOrigin(configuration.http.isSecure, configuration.http.address, port);
            PrintStatus("listening on " + address + '\n');
            if (commandLine.printsExamples)
            {
                PrintStatus(FormatExamples(address, commandLine, stateFolder));
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
    HostConfiguration configuration = LoadConfiguration(commandLine);
    LogManager::AssignAppDomain(appDomain);
    if (commandLine.action == CommandLine::Action::Check)
    {
        return CheckConfiguration(appDomain, configuration, StateFolder(commandLine.stateFolder));
    }
    if (commandLine.action == CommandLine::Action::PrintFingerprint)
    {
        PrintFingerprint(configuration);
        Oxa::System::Commons::FlushOutput();
        return EXIT_SUCCESS;
    }
    if (commandLine.action != CommandLine::Action::Serve)
    {
        const bool isAudit = commandLine.action == CommandLine::Action::ListAudit ||
                             commandLine.action == CommandLine::Action::VerifyAudit;
        const int status =
            isAudit ? RunAuditCommand(commandLine, configuration) : RunUserCommand(commandLine, configuration);
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
