#include "Processes/DeviceProcess.hpp"

#include "Support/UnixSocket.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace Oxa::Tests::Processes
{

DeviceProcess::DeviceProcess(const DeviceSettings& settings) : root(settings.root)
{
    const BasicString server = settings.server.empty() ? "socket=\"" + socketPath + '"' : settings.server;
    const BasicString own = "<User name=\"" + std::to_string(getuid()) + "\" commands=\"true\"/>";
    folder.Write("device.conf",
                 "<DeviceServerDocument><Log level=\"error\"/><Server " + server + '>' +
                     (settings.users.empty() ? own : settings.users) + "</Server><Components>" +
                     "<Component name=\"Linux\" library=\"" OXA_DEVICE_LIBRARY "\" settings=\"" +
                     (settings.description.empty() ? folder.GetPath("device.xml") : settings.description) +
                     "\"/></Components></DeviceServerDocument>");
    Describe();
}

DeviceProcess::~DeviceProcess()
{
    if (listening >= 0)
    {
        close(listening);
    }
}

void DeviceProcess::Describe() const
{
    BasicString items;
    for (int number = 0; number < itemsCount; ++number)
    {
        const BasicString key = MakeKey(number);
        items += "<Item key=\"" + key + "\"><simulated value=\"" + key + "!\"/></Item>\n";
    }
    folder.Write("device.xml",
                 "<DeviceDescriptionDocument><Restart action=\"simulate\"/>" + items + "</DeviceDescriptionDocument>");
}

void DeviceProcess::HandOverSocket()
{
    listening = Support::ListenAt(socketPath);
}

void DeviceProcess::Start()
{
    std::vector<BasicString> arguments = {OXA_DEVICE, "--config", folder.GetPath("device.conf")};
    if (!root.empty())
    {
        arguments.insert(arguments.end(), {"--root", root});
    }
    if (listening >= 0)
    {
        // The process that is told its number has to be the one that serves.
        arguments.insert(arguments.begin(), {"/bin/sh", "-c", "exec env LISTEN_FDS=1 LISTEN_PID=$$ \"$@\"", "systemd"});
    }
    process.emplace(arguments, "", listening);
    static_cast<void>(process->WaitForLine("serving"));
}

void DeviceProcess::Kill()
{
    process->SendSignal(SIGKILL);
    process->Wait();
}

void DeviceProcess::Suspend()
{
    process->SendSignal(SIGSTOP);
    waitpid(process->GetNumber(), nullptr, WUNTRACED);
}

Support::ChildProcess& DeviceProcess::GetProcess()
{
    return *process;
}

System::Rsc::RscEndpointConfiguration DeviceProcess::GetEndpoint() const
{
    return {"Oxa.Device", socketPath, readTimeout, commandTimeout};
}

const Support::TemporaryFolder& DeviceProcess::GetFolder() const
{
    return folder;
}

BasicString MakeKey(int number)
{
    return "Test." + std::to_string(number);
}

} // namespace Oxa::Tests::Processes
