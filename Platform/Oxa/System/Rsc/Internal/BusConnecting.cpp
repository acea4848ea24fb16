#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Rsc/Internal/BusOpening.hpp"
#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"
#include "Oxa/System/Rsc/Internal/SocketAddress.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::FileDescriptor;

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

/// The kernel lets every user connect. The server closes the connection of a user it does not accept without a message;
/// that shows as one of these errors.
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

void Connect(int descriptor, const BasicString& path, CallDeadline deadline)
{
    const auto address = TryMakeSocketAddress(path);
    if (!address)
    {
        ThrowNotConnected(ENAMETOOLONG);
    }
    while (connect(descriptor, AsGeneralAddress(*address), sizeof *address) != 0)
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

template <class Function>
auto RequireMade(Function make)
{
    try
    {
        return make();
    }
    catch (const std::system_error& error)
    {
        ThrowNotConnected(error.code().value());
    }
}

} // namespace

BusHandle ConnectToSocket(const BasicString& path, CallDeadline deadline)
{
    FileDescriptor connected(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!connected.IsOpen())
    {
        ThrowNotConnected(errno);
    }
    Connect(connected.Get(), path, deadline);
    BusHandle bus = RequireMade([] { return MakeBus(); });
    Require(sd_bus_set_fd(bus.get(), connected.Get(), connected.Get()));
    static_cast<void>(connected.Release());
    RequireAccepted(sd_bus_start(bus.get()));
    HandshakeGuard guard(sd_bus_get_fd(bus.get()));
    ProcessUntilReady(*bus, deadline, [&guard] { guard.RequireNoMessage(); });
    return bus;
}

BusHandle ConnectToBus(const BasicString& address, CallDeadline deadline)
{
    BusHandle bus = RequireMade([&address] { return OpenMessageBus(ResolveBusAddress(address)); });
    ProcessUntilReady(*bus, deadline, [] {});
    return bus;
}

} // namespace Oxa::System::Rsc::Internal
