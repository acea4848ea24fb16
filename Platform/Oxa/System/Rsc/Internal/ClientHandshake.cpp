#include "Oxa/System/Rsc/Internal/ClientHandshake.hpp"

#include "Oxa/System/Rsc/Internal/BusOpening.hpp"
#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::FileDescriptor;

namespace
{

/// Who this process is, the kernel tells. All at once: the answers are known.
constexpr std::string_view request("\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n", 29);
constexpr std::string_view challenge = "DATA\r\n";
constexpr std::string_view acceptance = "OK 0123456789abcdef0123456789abcdef\r\n";
constexpr std::size_t longestLine = 64;
constexpr int maximumPollWait = 1000;

[[noreturn]] void ThrowTurnedAway()
{
    throw RscServiceException(RscFault::Refused, "the other process turned the connection away, or went away");
}

[[noreturn]] void ThrowNoBus(int error)
{
    throw RscServiceException::Create(RscFault::NotAvailable, "there is no connection: {0}",
                                      std::generic_category().message(error));
}

void WaitForInput(int descriptor, CallDeadline deadline)
{
    if (CallClock::now() >= deadline)
    {
        throw RscServiceException(RscFault::TimedOut, connectingTimedOutText);
    }
    pollfd waiting{descriptor, POLLIN, 0};
    poll(&waiting, 1, GetPollTimeout(deadline, maximumPollWait));
}

/// Byte by byte: not one of what follows may be taken out of the socket.
BasicString ReadLine(int descriptor, CallDeadline deadline)
{
    BasicString line;
    while (!line.ends_with("\r\n"))
    {
        char byte = 0;
        const ssize_t size = recv(descriptor, &byte, 1, MSG_DONTWAIT);
        if (size > 0 && line.size() < longestLine)
        {
            line += byte;
        }
        else if (size > 0)
        {
            throw RscServiceException(RscFault::BadAnswer, "the answer to the handshake is none");
        }
        else if (size < 0 && (errno == EAGAIN || errno == EINTR))
        {
            WaitForInput(descriptor, deadline);
        }
        else
        {
            ThrowTurnedAway();
        }
    }
    if (line.starts_with("REJECTED") || line.starts_with("ERROR"))
    {
        ThrowTurnedAway();
    }
    return line;
}

void Authenticate(int descriptor, CallDeadline deadline)
{
    // The connection is new: there is room for all.
    if (send(descriptor, request.data(), request.size(), MSG_DONTWAIT | MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
    {
        ThrowTurnedAway();
    }
    const BasicString first = ReadLine(descriptor, deadline);
    const BasicString second = ReadLine(descriptor, deadline);
    if (first != challenge || second.size() != acceptance.size() || !second.starts_with("OK "))
    {
        throw RscServiceException(RscFault::BadAnswer, "the answer to the handshake is none");
    }
}

void RequireDone(int result)
{
    if (result < 0)
    {
        ThrowNoBus(-result);
    }
}

/// A bus whose handshake is over, with nobody at the other end.
BusHandle MakeReadyBus()
{
    std::array<int, 2> ends = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0)
    {
        ThrowNoBus(errno);
    }
    FileDescriptor own(ends[0]);
    const FileDescriptor other(ends[1]);
    const BasicString answer = BasicString(challenge) + BasicString(acceptance);
    static_cast<void>(send(other.Get(), answer.data(), answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL));
    BusHandle bus = MakeBus();
    RequireDone(sd_bus_set_fd(bus.get(), own.Get(), own.Get()));
    static_cast<void>(own.Release());
    RequireDone(sd_bus_start(bus.get()));
    while (sd_bus_is_ready(bus.get()) <= 0)
    {
        const int worked = sd_bus_process(bus.get(), nullptr);
        RequireDone(worked == 0 ? -EPROTO : worked);
    }
    return bus;
}

} // namespace

BusHandle AuthenticateAsClient(FileDescriptor connected, CallDeadline deadline)
{
    Authenticate(connected.Get(), deadline);
    try
    {
        BusHandle bus = MakeReadyBus();
        // sd-bus knows its connection by the descriptor's number only, and nothing has been read of this one.
        if (dup3(connected.Get(), sd_bus_get_fd(bus.get()), O_CLOEXEC) < 0)
        {
            ThrowNoBus(errno);
        }
        return bus;
    }
    catch (const std::system_error& error)
    {
        ThrowNoBus(error.code().value());
    }
}

} // namespace Oxa::System::Rsc::Internal
