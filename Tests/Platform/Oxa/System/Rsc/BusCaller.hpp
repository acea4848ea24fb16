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

    /// Empty when the call was answered, else the error's name.
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
        sd_bus_message* answer = nullptr;
        std::uint32_t echoed = 0;
        if (sd_bus_call_method(bus.get(), nullptr, FakeEchoFactory::path, FakeEchoFactory::interface, "Echo", nullptr,
                               &answer, "u", number) >= 0)
        {
            sd_bus_message_read(answer, "u", &echoed);
            sd_bus_message_unref(answer);
        }
        return echoed;
    }

    std::string Introspect()
    {
        sd_bus_message* answer = nullptr;
        const char* text = "";
        if (sd_bus_call_method(bus.get(), nullptr, FakeEchoFactory::path, "org.freedesktop.DBus.Introspectable",
                               "Introspect", nullptr, &answer, "") < 0)
        {
            return {};
        }
        const Oxa::System::Rsc::Internal::MessageHandle owner(answer);
        sd_bus_message_read(answer, "s", &text);
        return text;
    }

    /// A line for each provider: its name, boot id, build id and interfaces.
    std::string GetRuns()
    {
        sd_bus_message* answer = nullptr;
        std::string lines;
        if (sd_bus_call_method(bus.get(), nullptr, "/", "Oxa.System.Rsc.Peer", "GetRuns", nullptr, &answer, "") < 0)
        {
            return "no answer";
        }
        const Oxa::System::Rsc::Internal::MessageHandle owner(answer);
        sd_bus_message_enter_container(answer, 'a', "(sssas)");
        while (sd_bus_message_enter_container(answer, 'r', "sssas") > 0)
        {
            const char* texts[3] = {};
            const char* name = nullptr;
            sd_bus_message_read(answer, "sss", &texts[0], &texts[1], &texts[2]);
            lines += std::string(texts[0]) + ' ' + texts[1] + ' ' + texts[2];
            sd_bus_message_enter_container(answer, 'a', "s");
            while (sd_bus_message_read_basic(answer, 's', &name) > 0)
            {
                lines += std::string(" ") + name;
            }
            sd_bus_message_exit_container(answer);
            sd_bus_message_exit_container(answer);
            lines += '\n';
        }
        return lines;
    }

    [[nodiscard]] int CountAnswers() const
    {
        return answers;
    }

    /// Counted in `answers` when it is answered.
    void CallLater(const char* member)
    {
        sd_bus_call_method_async(
            bus.get(), nullptr, nullptr, FakeEchoFactory::path, FakeEchoFactory::interface, member,
            [](sd_bus_message* answer, void* caller, sd_bus_error*)
            {
                static_cast<BusCaller*>(caller)->answers += sd_bus_message_is_method_error(answer, nullptr) > 0 ? 0 : 1;
                return 1;
            },
            this, "");
    }

    void WaitForAnswers(int count)
    {
        while (answers < count && sd_bus_process(bus.get(), nullptr) >= 0)
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
    int answers = 0;
};

} // namespace Oxa::Tests
