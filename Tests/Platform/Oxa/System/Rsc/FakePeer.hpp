#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Support/UnixSocket.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Oxa::Tests
{

/// The process behind a socket, on a thread: responds to some operations as it should, to others badly.
class FakePeer final
{
public:
    explicit FakePeer(const BasicString& path) : waking(eventfd(0, EFD_CLOEXEC))
    {
        unlink(path.c_str());
        listening = Support::ListenAt(path);
        thread = std::thread([this] { Run(); });
    }

    FakePeer(const FakePeer&) = delete;
    FakePeer& operator=(const FakePeer&) = delete;

    ~FakePeer()
    {
        isStopping = true;
        Wake();
        thread.join();
        close(waking);
        close(listening);
    }

    void Wake() const
    {
        eventfd_write(waking, 1);
    }

    [[nodiscard]] bool IsListening() const
    {
        return listening >= 0;
    }

    /// Closes connections at once.
    std::atomic<bool> isRefusing = false;
    std::atomic<bool> isReleasing = false;
    std::atomic<unsigned> connections = 0;
    std::atomic<unsigned> keptCalls = 0;
    /// All but handshakes.
    std::atomic<unsigned> calls = 0;
    /// Reads requests and does not respond.
    std::atomic<bool> isSilent = false;

    void SetRun(const BasicString& newBootId, const BasicString& newBuildId)
    {
        const std::lock_guard lock(mutex);
        bootId = newBootId;
        buildId = newBuildId;
    }

    void HangUp()
    {
        isHangingUp = true;
        Wake();
    }

    /// Hangs up, and is another run afterwards.
    void Restart(const BasicString& newBootId)
    {
        {
            const std::lock_guard lock(mutex);
            nextBootId = newBootId;
        }
        HangUp();
    }

    void SetError(const char* name)
    {
        const std::lock_guard lock(mutex);
        error = name;
    }

    void SetProvider(const BasicString& name)
    {
        const std::lock_guard lock(mutex);
        providerName = name;
    }

private:
    void Run()
    {
        while (!isStopping)
        {
            std::vector<pollfd> waiting = {{waking, POLLIN, 0}, {listening, POLLIN, 0}};
            for (const auto& bus : buses)
            {
                waiting.push_back({sd_bus_get_fd(bus.get()), POLLIN, 0});
            }
            poll(waiting.data(), waiting.size(), -1);
            if (waiting[0].revents != 0)
            {
                eventfd_t count = 0;
                eventfd_read(waking, &count);
            }
            if (waiting[1].revents != 0)
            {
                Accept();
            }
            if (isReleasing.exchange(false))
            {
                Release();
            }
            for (const auto& bus : buses)
            {
                while (!isHangingUp && sd_bus_process(bus.get(), nullptr) > 0)
                {
                }
            }
            std::erase_if(buses, [](const auto& bus) { return sd_bus_is_open(bus.get()) <= 0; });
            if (isHangingUp.exchange(false))
            {
                Disconnect();
            }
        }
        Disconnect();
    }

    void Accept()
    {
        const int accepted = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        ++connections;
        if (isRefusing)
        {
            close(accepted);
            return;
        }
        sd_bus* made = nullptr;
        sd_id128_t id = {};
        sd_bus_new(&made);
        buses.emplace_back(made);
        sd_bus_set_fd(made, accepted, accepted);
        sd_bus_set_server(made, 1, id);
        sd_bus_add_filter(made, nullptr, &OnMessage, this);
        sd_bus_start(made);
    }

    static int OnMessage(sd_bus_message* message, void* peer, sd_bus_error* /*error*/)
    {
        // Else it is the signal of sd-bus that the connection has ended.
        if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0)
        {
            static_cast<FakePeer*>(peer)->Respond(*message, sd_bus_message_get_member(message));
        }
        return 1;
    }

    void Respond(sd_bus_message& message, std::string_view operation)
    {
        if (isSilent)
        {
            return;
        }
        calls += operation == "GetRuns" ? 0 : 1;
        if (operation == "Keep" || operation == "KeepCommand")
        {
            kept.emplace_back(sd_bus_message_ref(&message));
            ++keptCalls;
        }
        else if (operation == "GetRuns")
        {
            const std::lock_guard lock(mutex);
            sd_bus_reply_method_return(&message, "a(sssas)", 2, "Oxa.Other", "", "", 0, providerName.c_str(),
                                       bootId.c_str(), buildId.c_str(), 2, "Oxa.Tests.IEcho", "Oxa.Tests.IOther");
        }
        else if (operation == "Fail")
        {
            const std::lock_guard lock(mutex);
            sd_bus_reply_method_errorf(&message, error.c_str(), "cause");
        }
        else if (operation == "Run")
        {
            sd_bus_reply_method_return(&message, "u", run);
        }
        else if (operation == "Answer")
        {
            Echo(message);
        }
        else if (operation == "Retype")
        {
            sd_bus_reply_method_return(&message, "s", "text");
        }
        else if (operation == "HangUp")
        {
            isHangingUp = true;
        }
        else
        {
            // The responses to calls that have timed out come first.
            Release();
            Echo(message);
        }
    }

    static void Echo(sd_bus_message& message)
    {
        unsigned number = 0;
        sd_bus_message_read(&message, "u", &number);
        sd_bus_reply_method_return(&message, "u", number);
    }

    void Release()
    {
        for (const auto& message : kept)
        {
            Echo(*message);
        }
        kept.clear();
    }

    void Disconnect()
    {
        kept.clear();
        buses.clear();
        const std::lock_guard lock(mutex);
        if (!nextBootId.empty())
        {
            bootId = std::exchange(nextBootId, {});
            ++run;
        }
    }

    int listening = -1;
    const int waking;
    std::mutex mutex;
    BasicString providerName = "Oxa.Tests";
    BasicString bootId = "boot";
    BasicString buildId = "build";
    BasicString nextBootId;
    unsigned run = 1;
    BasicString error;
    std::atomic<bool> isStopping = false;
    std::atomic<bool> isHangingUp = false;
    std::vector<Oxa::System::Rsc::Internal::BusHandle> buses;
    std::vector<Oxa::System::Rsc::Internal::MessageHandle> kept;
    std::thread thread;
};

} // namespace Oxa::Tests
