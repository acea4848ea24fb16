#include "Host/CommandLine.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/Examples.hpp"
#include "Host/InitialUser.hpp"
#include "Host/StateFolder.hpp"
#include "Host/UserCommands.hpp"
#include "Host/WbmHost.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>

namespace
{

using Oxa::BasicString;
using Oxa::Host::CommandLine;
using Oxa::Host::Configuration::HostConfiguration;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Commons::Singleton;
using Oxa::System::Commons::XmlException;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;
using Oxa::System::Um::UserManager;

/// EX_CONFIG of sysexits.h.
constexpr int configurationFaultStatus = 78;

BasicString GetLibraryFolder()
{
    const auto programFolder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return (programFolder.parent_path() / "lib").string();
}

void SetVariables(AppDomain& appDomain, const CommandLine& commandLine)
{
    const auto configuration = std::filesystem::absolute(commandLine.configurationPath);
    appDomain.SetVariable("OXA_CONFIG", configuration.parent_path().string());
    appDomain.SetVariable("OXA_STATE", std::filesystem::absolute(commandLine.stateFolder).string());
    appDomain.SetVariable("OXA_LIBRARIES", GetLibraryFolder());
    for (const auto& [name, value] : commandLine.variables)
    {
        appDomain.SetVariable(name, value);
    }
}

/// What a configuration names and cannot be used is a fault of the configuration.
template <class Use>
auto UseConfigured(const Use& use)
{
    try
    {
        return use();
    }
    catch (const InvalidOperationException& exception)
    {
        throw XmlException::Create("{0}", exception.what());
    }
}

/// The password itself only to somebody who looks on, not into a log.
void ReportInitialUser(const CommandLine& commandLine, const BasicString& password, const BasicString& path)
{
    const bool isShown = commandLine.printsExamples || isatty(STDOUT_FILENO) == 1;
    std::cout << "created the user '" << Oxa::Host::initialUserName << "' with the password "
              << (isShown ? password + " (kept in '" + path + "')" : "in '" + path + '\'') << '\n';
}

void Serve(const CommandLine& commandLine, const HostConfiguration& configuration, AppDomain& appDomain,
           UserManager& users, const Oxa::Host::StateFolder& stateFolder)
{
    const BasicString password = CreateInitialUser(users, stateFolder);
    if (!password.empty())
    {
        ReportInitialUser(commandLine, password, stateFolder.GetInitialPasswordPath());
    }
    Oxa::Host::WbmHost host(appDomain, configuration, users);
    host.Run(
        [&](Oxa::uint16 port)
        {
            const BasicString address = Oxa::Host::FormatAddress(configuration.http.address, port);
            std::cout << "listening on " << address << std::endl;
            if (commandLine.printsExamples)
            {
                std::cout << Oxa::Host::FormatExamples(address, stateFolder.GetInitialPasswordPath()) << std::flush;
            }
        });
}

int Run(const CommandLine& commandLine, AppDomain& appDomain)
{
    SetVariables(appDomain, commandLine);
    HostConfiguration configuration = Oxa::Host::Configuration::LoadHostConfiguration(commandLine.configurationPath);
    configuration.http.port = commandLine.port.value_or(configuration.http.port);
    LogManager::AssignAppDomain(appDomain);
    UseConfigured([&] { LogManager::Configure(configuration.log); });
    const Oxa::Host::StateFolder stateFolder(commandLine.stateFolder);
    const auto users = UseConfigured([&] { return std::make_unique<UserManager>(configuration.usersDatabasePath); });
    if (commandLine.action != CommandLine::Action::Serve)
    {
        return RunUserCommand(commandLine, *users, stateFolder);
    }
    Serve(commandLine, configuration, appDomain, *users, stateFolder);
    return EXIT_SUCCESS;
}

int Main(int argc, const char* const* argv)
{
    int exitStatus = EXIT_SUCCESS;
    const auto commandLine = Oxa::Host::ParseCommandLine(argc, argv, exitStatus);
    if (!commandLine)
    {
        return exitStatus;
    }
    // Who reads the output may go away; that is no reason to end.
    std::signal(SIGPIPE, SIG_IGN);
    if (sodium_init() < 0)
    {
        throw InvalidOperationException::Create("the system has no random numbers");
    }
    AppDomain appDomain("oxa-wbm");
    Singleton<AppDomain>::TrySetInstance(appDomain);
    try
    {
        exitStatus = Run(*commandLine, appDomain);
    }
    catch (...)
    {
        Singleton<AppDomain>::ClearInstance();
        throw;
    }
    Singleton<AppDomain>::ClearInstance();
    return exitStatus;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Main(argc, argv);
    }
    catch (const XmlException& exception)
    {
        const BasicString& position = exception.GetReadingPosition();
        std::cerr << "oxa-wbm: " << position << (position.empty() ? "" : ": ") << exception.what() << std::endl;
        return configurationFaultStatus;
    }
    catch (const std::exception& exception)
    {
        std::cerr << "oxa-wbm: " << exception.what() << std::endl;
    }
    catch (...)
    {
        std::cerr << "oxa-wbm: an exception of an unknown type" << std::endl;
    }
    return EXIT_FAILURE;
}
