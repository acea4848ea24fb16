#include "Device/Program/DescriptionActions.hpp"
#include "Device/Program/DeviceCommandLine.hpp"
#include "Device/Program/DeviceServer.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Threading/EndSignals.hpp"

#include <chrono>
#include <cstdlib>
#include <iostream>

namespace
{

using Oxa::Device::Linux::Program::DeviceCommandLine;
using Oxa::System::Commons::AppDomain;
using Oxa::System::Commons::UseConfigured;
using Oxa::System::Commons::Diagnostics::Logging::LogConfiguration;
using Oxa::System::Commons::Diagnostics::Logging::LogLevel;
using Oxa::System::Commons::Diagnostics::Logging::LogManager;

/// From the signal to the end; shorter than the service manager waits.
constexpr std::chrono::seconds shutdownTimeout(10);

void Serve(const DeviceCommandLine& commandLine, AppDomain& appDomain)
{
    Oxa::System::Commons::Threading::EndSignals::Watch(shutdownTimeout);
    if (!commandLine.rootFolder.empty())
    {
        appDomain.SetVariable("OXA_DEVICE_ROOT", commandLine.rootFolder);
    }
    const auto configuration =
        Oxa::Device::Linux::Program::LoadDeviceServerConfiguration(commandLine.configurationPath);
    LogManager::AssignAppDomain(appDomain);
    UseConfigured([&configuration] { LogManager::Configure(configuration.log); });
    Oxa::Device::Linux::Program::ServeDevice(appDomain, configuration);
}

int Run(const DeviceCommandLine& commandLine, AppDomain& appDomain)
{
    SetProgramVariables(appDomain, commandLine.configurationPath, commandLine.variables);
    if (commandLine.action == DeviceCommandLine::Action::Serve)
    {
        Serve(commandLine, appDomain);
        return EXIT_SUCCESS;
    }
    if (commandLine.action == DeviceCommandLine::Action::DescribeMachine)
    {
        // The description itself names the parts that the machine lacks.
        LogConfiguration configuration;
        configuration.level = LogLevel::Error;
        LogManager::Configure(configuration);
    }
    const int status = Oxa::Device::Linux::Program::RunAction(commandLine, std::cout);
    Oxa::System::Commons::FlushOutput();
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    return Oxa::System::Commons::RunProgram(
        "oxa-device", [argc, argv] { return Oxa::Device::Linux::Program::ParseDeviceCommandLine(argc, argv); }, &Run);
}
