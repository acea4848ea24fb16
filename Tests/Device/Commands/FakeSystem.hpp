#pragma once

#include "Support/ChildProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <systemd/sd-bus.h>

#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>

namespace Oxa::Tests::Device
{

/// A system bus of the test's own, with a login manager and a systemd that do what the test says. This process takes it
/// for the machine's as long as the object lives.
class FakeSystem final
{
public:
    FakeSystem()
    {
        const BasicString configuration =
            folder.Write("bus.conf", "<busconfig><listen>unix:dir=" + folder.GetPath() +
                                         "</listen><policy context='default'><allow send_destination='*'/>"
                                         "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
        bus.emplace(std::vector<BasicString>{"/usr/bin/dbus-daemon", "--nofork", "--print-address",
                                             "--config-file=" + configuration});
        setenv("DBUS_SYSTEM_BUS_ADDRESS", bus->WaitForLine("unix:").insert(0, "unix:").c_str(), 1);
        services.emplace(std::vector<BasicString>{"/usr/bin/python3", OXA_SYSTEM_MOCKS});
        static_cast<void>(services->WaitForLine("ready"));
    }

    FakeSystem(const FakeSystem&) = delete;
    FakeSystem& operator=(const FakeSystem&) = delete;

    ~FakeSystem()
    {
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    /// The code of `CanReboot` or `Reboot` from now on.
    void LetLogin(const char* method, const char* signature, const BasicString& code)
    {
        Tell("login1", "AddMethod", "sssss", "", method, BasicString(method) == "Reboot" ? "b" : "", signature,
             code.c_str());
    }

    /// The code of `StartUnit` from now on; the job is "/job/7".
    void LetStartUnit(const BasicString& code)
    {
        Tell("systemd1", "AddMethod", "sssss", "", "StartUnit", "ss", "o", (code + "\nret = '/job/7'").c_str());
    }

    /// How the unit is from now on: `ActiveState`, `SubState` and `Result`.
    void SetUnit(const char* active, const char* sub, const char* result)
    {
        Tell("systemd1", "SetUnit", "sss", active, sub, result);
    }

    /// systemd says that the job has ended.
    void EndJob(const char* job, const char* result)
    {
        Tell("systemd1", "EmitSignal", "sssav", "", "JobRemoved", "uoss", 4, "u", 7, "o", job, "s", "unit", "s",
             result);
    }

    /// What was called, a line for each call; complete for all that was answered before.
    [[nodiscard]] BasicString GetCalls()
    {
        const BasicString mark = "Mark" + std::to_string(++marks);
        Tell("login1", "EmitSignal", "sssav", "", mark.c_str(), "", 0);
        static_cast<void>(services->WaitForLine("emit /org/freedesktop/login1 org.freedesktop.login1.Manager." + mark));
        return services->GetOutput();
    }

    [[nodiscard]] Support::ChildProcess& GetServices()
    {
        return *services;
    }

    [[nodiscard]] Support::ChildProcess& GetBus()
    {
        return *bus;
    }

private:
    template <class... Args>
    void Tell(const BasicString& service, const char* method, const char* types, Args... arguments)
    {
        sd_bus* connection = nullptr;
        const int opened = sd_bus_open_system(&connection);
        const int called =
            opened < 0 ? opened
                       : sd_bus_call_method(connection, ("org.freedesktop." + service).c_str(),
                                            ("/org/freedesktop/" + service).c_str(),
                                            BasicString(method) == "SetUnit" ? "org.freedesktop.systemd1.Manager"
                                                                             : "org.freedesktop.DBus.Mock",
                                            method, nullptr, nullptr, types, arguments...);
        sd_bus_flush_close_unref(connection);
        if (called < 0)
        {
            throw std::runtime_error("the mocks do not answer");
        }
    }

    const Support::TemporaryFolder folder;
    std::optional<Support::ChildProcess> bus;
    std::optional<Support::ChildProcess> services;
    int marks = 0;
};

} // namespace Oxa::Tests::Device
