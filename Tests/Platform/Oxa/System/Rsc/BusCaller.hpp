#pragma once

#include "FakeEchoService.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace Oxa::Tests
{

/// Calls the echo service as any program can that speaks the protocol.
class BusCaller final
{
public:
    explicit BusCaller(const std::string& address)
    {
        sd_bus* made = nullptr;
        sd_bus_new(&made);
        bus.reset(made);
        sd_bus_set_address(made, address.c_str());
        sd_bus_set_method_call_timeout(made, std::chrono::microseconds(std::chrono::seconds(10)).count());
        sd_bus_start(made);
    }

    /// Empty when the call succeeded, else the error's name.
    std::string Call(const char* member)
    {
        sd_bus_error error = SD_BUS_ERROR_NULL;
        const int result = sd_bus_call_method(bus.get(), nullptr, FakeEchoFactory::path, FakeEchoFactory::interface,
                                              member, &error, nullptr, "");
        std::string name = result >= 0 ? "" : error.name != nullptr ? error.name : "?";
        sd_bus_error_free(&error);
        return name;
    }

    /// The number that comes back, or 0.
    std::uint32_t Echo(std::uint32_t number)
    {
        sd_bus_message* response = nullptr;
        std::uint32_t echoed = 0;
        if (sd_bus_call_method(bus.get(), nullptr, FakeEchoFactory::path, FakeEchoFactory::interface, "Echo", nullptr,
                               &response, "u", number) >= 0)
        {
            sd_bus_message_read(response, "u", &echoed);
            sd_bus_message_unref(response);
        }
        return echoed;
    }

    std::string Introspect()
    {
        sd_bus_message* response = nullptr;
        const char* text = "";
        if (sd_bus_call_method(bus.get(), nullptr, FakeEchoFactory::path, "org.freedesktop.DBus.Introspectable",
                               "Introspect", nullptr, &response, "") < 0)
        {
            return {};
        }
        const Oxa::System::Rsc::Internal::MessageHandle owner(response);
        sd_bus_message_read(response, "s", &text);
        return text;
    }

    /// A line for each provider: its name, boot id, build id and interfaces.
    std::string GetRuns()
    {
        sd_bus_message* response = nullptr;
        std::string lines;
        if (sd_bus_call_method(bus.get(), nullptr, "/", "Oxa.System.Rsc.Peer", "GetRuns", nullptr, &response, "") < 0)
        {
            return "no response";
        }
        const Oxa::System::Rsc::Internal::MessageHandle owner(response);
        sd_bus_message_enter_container(response, 'a', "(sssas)");
        while (sd_bus_message_enter_container(response, 'r', "sssas") > 0)
        {
            const char* texts[3] = {};
            const char* name = nullptr;
            sd_bus_message_read(response, "sss", &texts[0], &texts[1], &texts[2]);
            lines += std::string(texts[0]) + ' ' + texts[1] + ' ' + texts[2];
            sd_bus_message_enter_container(response, 'a', "s");
            while (sd_bus_message_read_basic(response, 's', &name) > 0)
            {
                lines += std::string(" ") + name;
            }
            sd_bus_message_exit_container(response);
            sd_bus_message_exit_container(response);
            lines += '\n';
        }
        return lines;
    }

    [[nodiscard]] int CountResponses() const
    {
        return responses;
    }

    /// Counted by `CountResponses` when it succeeds.
    void CallLater(const char* member)
    {
        sd_bus_call_method_async(
            bus.get(), nullptr, nullptr, FakeEchoFactory::path, FakeEchoFactory::interface, member,
            [](sd_bus_message* response, void* caller, sd_bus_error*)
            {
                static_cast<BusCaller*>(caller)->responses +=
                    sd_bus_message_is_method_error(response, nullptr) > 0 ? 0 : 1;
                return 1;
            },
            this, "");
    }

    void WaitForResponses(int count)
    {
        while (responses < count && sd_bus_process(bus.get(), nullptr) >= 0)
        {
            sd_bus_wait(bus.get(), std::chrono::microseconds(std::chrono::milliseconds(20)).count());
        }
    }

    [[nodiscard]] int GetDescriptor() const
    {
        return sd_bus_get_fd(bus.get());
    }

private:
    Oxa::System::Rsc::Internal::BusHandle bus;
    int responses = 0;
};

} // namespace Oxa::Tests
