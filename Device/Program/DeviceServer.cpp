#include "Device/Program/DeviceServer.hpp"

#include "Oxa/System/Acf/ComponentManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Commons/Threading/EndSignals.hpp"
#include "Oxa/System/Commons/Xml/XmlElementReader.hpp"

#include <sys/socket.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <utility>

namespace Oxa::Device::Linux::Program
{

using System::Acf::ComponentManager;
using System::Commons::ConfigurationException;
using System::Commons::FileDescriptor;
using System::Commons::InvalidOperationException;
using System::Commons::Xml::XmlElementReader;

namespace
{

void ReadServer(XmlElementReader& element, System::Rsc::RscServerConfiguration& server)
{
    element.Read("socket", server.socketPath);
    element.Read("maximumConnections", server.maximumConnections, 1, 64);
    const auto readUser = [&server](XmlElementReader& child)
    {
        System::Rsc::RscServerUser user;
        child.ReadRequired("name", user.name);
        child.Read("commands", user.mayCommand);
        server.users.push_back(user);
    };
    element.ReadList("User", readUser);
}

/// The listening socket that the service manager passed, if any.
FileDescriptor TakeActivationSocket()
{
    const int count = sd_listen_fds(1);
    if (count == 0)
    {
        return {};
    }
    const bool isUsable = count == 1 && sd_is_socket_unix(SD_LISTEN_FDS_START, SOCK_STREAM, 1, nullptr, 0) > 0;
    if (!isUsable)
    {
        throw InvalidOperationException::Create(
            "the service manager passed {0} descriptors, expected one listening Unix socket", count);
    }
    return FileDescriptor(SD_LISTEN_FDS_START);
}

} // namespace

DeviceServerConfiguration LoadDeviceServerConfiguration(const BasicString& path)
{
    DeviceServerConfiguration configuration;
    const auto readDocument = [&configuration](XmlElementReader& root)
    {
        root.ReadChildren({{"Log",
                            [&](XmlElementReader& element)
                            {
                                ReadLogConfiguration(element, configuration.log);
                            }},
                           {"Server",
                            [&](XmlElementReader& element)
                            {
                                ReadServer(element, configuration.server);
                            }},
                           {"Components", [&](XmlElementReader& element)
                            {
                                ReadComponentConfigurations(element, configuration.components);
                            }}});
    };
    XmlElementReader::ReadFile(path, "DeviceServerDocument", readDocument);
    return configuration;
}

void ServeDevice(System::Commons::AppDomain& appDomain, const DeviceServerConfiguration& configuration)
{
    System::Rsc::RscServerConfiguration serverConfiguration = configuration.server;
    FileDescriptor activationSocket = TakeActivationSocket();
    if (activationSocket.IsOpen())
    {
        serverConfiguration.socketPath.clear();
    }
    ComponentManager components(appDomain);
    for (const auto& component : configuration.components)
    {
        components.Load(component);
    }
    components.SetupAll();
    components.StartAll();
    if (components.GetFailures().size() >= configuration.components.size())
    {
        throw ConfigurationException::Create("no component started, so there are no services");
    }
    const System::Rsc::RscServer server(serverConfiguration, std::move(activationSocket));
    System::Commons::ReleaseUnusedMemory();
    System::Commons::PrintStatus("serving\n");
    sd_notify(0, "READY=1\nSTATUS=serving");
    System::Commons::Threading::EndSignals::Wait();
    sd_notify(0, "STOPPING=1\nSTATUS=stopping the components");
    // This is done before the server is destroyed: the server waits for calls in progress, and stopping the components
    // ends those calls that wait for the device.
    components.StopAll();
}

} // namespace Oxa::Device::Linux::Program
