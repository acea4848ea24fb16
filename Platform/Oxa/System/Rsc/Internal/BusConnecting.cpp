#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"

#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

namespace
{

/// How soon a listener whose queue is full is asked again; the kernel does not tell when it has room.
constexpr int fullQueueWait = 5;
constexpr int maximumPollWait = 1000;

[[noreturn]] void ThrowNotConnected(int error)
{
    throw RscServiceException::Create(RscFault::NotAvailable, "there is no connection: {0}",
                                      std::generic_category().message(error));
}

void Require(int result)
{
    if (result < 0)
    {
        ThrowNotConnected(-result);
    }
}

/// Who is not allowed to connect is let in by the kernel and turned away by the other process, which says nothing.
void RequireAccepted(int result)
{
    if (result == -EPERM || result == -EPIPE || result == -ECONNRESET)
    {
        throw RscServiceException(RscFault::Refused, "the other process turned the connection away, or went away");
    }
    Require(result);
}

/// sd-bus would read a message that follows the handshake together with it, before anybody could look at its length.
class HandshakeGuard final
{
public:
    explicit HandshakeGuard(int descriptor) noexcept : descriptor(descriptor) {}

    /// Before the handshake goes on: what comes in ends with its last line.
    void RequireNoMessage()
    {
        std::array<char, 256> bytes;
        const ssize_t size = recv(descriptor, bytes.data(), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
        for (ssize_t index = 0; index < size; ++index)
        {
            if (lines == lineCount)
            {
                throw RscServiceException(RscFault::BadAnswer, "a message came in before the handshake was over");
            }
            lines += bytes.at(static_cast<std::size_t>(index)) == '\n' ? 1 : 0;
        }
    }

private:
    /// "DATA" and "OK".
    static constexpr int lineCount = 2;

    const int descriptor;
    int lines = 0;
};

void RequireTime(CallDeadline deadline)
{
    if (CallClock::now() >= deadline)
    {
        throw RscServiceException(RscFault::TimedOut, connectingTimedOutText);
    }
}

/// Closes the descriptor unless it was given away.
class SocketOwner final
{
public:
    explicit SocketOwner(int descriptor) : descriptor(descriptor) {}

    SocketOwner(const SocketOwner&) = delete;
    SocketOwner& operator=(const SocketOwner&) = delete;

    ~SocketOwner()
    {
        if (descriptor >= 0)
        {
            close(descriptor);
        }
    }

    [[nodiscard]] int Get() const noexcept
    {
        return descriptor;
    }

    void Release() noexcept
    {
        descriptor = -1;
    }

private:
    int descriptor;
};

sockaddr_un MakeAddress(const BasicString& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
    {
        ThrowNotConnected(ENAMETOOLONG);
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    return address;
}

void Connect(int descriptor, const BasicString& path, CallDeadline deadline)
{
    const sockaddr_un address = MakeAddress(path);
    while (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    {
        if (errno != EAGAIN && errno != EINTR)
        {
            ThrowNotConnected(errno);
        }
        RequireTime(deadline);
        poll(nullptr, 0, fullQueueWait);
    }
}

template <class BeforeReading>
void ProcessUntilReady(sd_bus& bus, CallDeadline deadline, BeforeReading beforeReading)
{
    for (;;)
    {
        beforeReading();
        const int worked = sd_bus_process(&bus, nullptr);
        RequireAccepted(worked);
        const int isReady = sd_bus_is_ready(&bus);
        RequireAccepted(isReady == -ENOTCONN ? -ECONNRESET : isReady);
        if (isReady > 0)
        {
            return;
        }
        RequireTime(deadline);
        if (worked == 0)
        {
            const int events = sd_bus_get_events(&bus);
            Require(events);
            pollfd waiting{sd_bus_get_fd(&bus), static_cast<short>(events), 0};
            poll(&waiting, 1, GetPollTimeout(deadline, maximumPollWait));
        }
    }
}

BusHandle MakeBus()
{
    sd_bus* made = nullptr;
    Require(sd_bus_new(&made));
    BusHandle bus(made);
    Require(sd_bus_negotiate_fds(made, 0));
    return bus;
}

BusHandle OpenBus(const BasicString& address)
{
    sd_bus* opened = nullptr;
    if (address == "system" || address == "session")
    {
        Require(address == "system" ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened));
        return BusHandle(opened);
    }
    BusHandle bus = MakeBus();
    Require(sd_bus_set_address(bus.get(), address.c_str()));
    Require(sd_bus_set_bus_client(bus.get(), 1));
    Require(sd_bus_start(bus.get()));
    return bus;
}

} // namespace

int GetPollTimeout(CallDeadline deadline, int most) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - CallClock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, most));
}

BusHandle ConnectToSocket(const BasicString& path, CallDeadline deadline)
{
    SocketOwner socketOwner(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socketOwner.Get() < 0)
    {
        ThrowNotConnected(errno);
    }
    Connect(socketOwner.Get(), path, deadline);
    BusHandle bus = MakeBus();
    Require(sd_bus_set_fd(bus.get(), socketOwner.Get(), socketOwner.Get()));
    socketOwner.Release();
    RequireAccepted(sd_bus_start(bus.get()));
    HandshakeGuard guard(sd_bus_get_fd(bus.get()));
    ProcessUntilReady(*bus, deadline, [&guard] { guard.RequireNoMessage(); });
    return bus;
}

BusHandle ConnectToBus(const BasicString& address, CallDeadline deadline)
{
    BusHandle bus = OpenBus(address);
    ProcessUntilReady(*bus, deadline, [] {});
    return bus;
}

} // namespace Oxa::System::Rsc::Internal
