#include "Device/Program/DeviceServer.hpp"

#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/StartupMemory.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"

#include <sys/socket.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

namespace Oxa::Device::Linux::Program
{

using System::Acf::ComponentManager;
using System::Commons::InvalidOperationException;
using System::Commons::XmlException;

namespace
{

/// Shorter than the service manager waits.
constexpr unsigned shutdownSeconds = 10;

void StartComponents(ComponentManager& components, const DeviceServerConfiguration& configuration)
{
    for (const auto& component : configuration.components)
    {
        components.Load(component);
    }
    components.SetupAll();
    components.StartAll();
    if (components.GetFailures().size() >= configuration.components.size())
    {
        throw XmlException::Create("no component came up, there is nothing to offer");
    }
}

void WaitForEnd()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    int number = 0;
    sigwait(&signals, &number);
}

} // namespace

int TakeActivationSocket()
{
    const int count = sd_listen_fds(1);
    if (count == 0)
    {
        return -1;
    }
    const bool isUsable = count == 1 && sd_is_socket_unix(SD_LISTEN_FDS_START, SOCK_STREAM, 1, nullptr, 0) > 0;
    if (!isUsable)
    {
        throw InvalidOperationException::Create(
            "the service manager handed over {0} descriptors, expected one listening Unix socket", count);
    }
    return SD_LISTEN_FDS_START;
}

void ServeDevice(System::Commons::AppDomain& appDomain, const DeviceServerConfiguration& configuration)
{
    System::Rsc::RscServerConfiguration serverConfiguration = configuration.server;
    serverConfiguration.listeningDescriptor = TakeActivationSocket();
    if (serverConfiguration.listeningDescriptor >= 0)
    {
        serverConfiguration.socketPath.clear();
    }
    ComponentManager components(appDomain);
    StartComponents(components, configuration);
    const System::Rsc::RscServer server(serverConfiguration);
    System::Commons::ReleaseStartupMemory();
    std::cout << "serving" << std::endl;
    WaitForEnd();
    // A call that still hangs in the machine must not keep the process.
    alarm(shutdownSeconds);
    // First, so that calls under way which wait for the device end; the server waits for them.
    components.StopAll();
}

} // namespace Oxa::Device::Linux::Program
