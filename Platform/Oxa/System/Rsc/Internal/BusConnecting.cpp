#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Rsc/Internal/BusOpening.hpp"
#include "Oxa/System/Rsc/Internal/ClientHandshake.hpp"
#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"
#include "Oxa/System/Rsc/Internal/SocketAddress.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>
#include <utility>

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

/// A message bus closes the connection of a user it does not accept; that shows as one of these errors.
void RequireAccepted(int result)
{
    if (result == -EPERM || result == -EPIPE || result == -ECONNRESET || result == -ENOTCONN)
    {
        throw RscServiceException(RscFault::Refused, "the message bus turned the connection away, or went away");
    }
    Require(result);
}

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

void ProcessUntilReady(sd_bus& bus, CallDeadline deadline)
{
    for (;;)
    {
        const int worked = sd_bus_process(&bus, nullptr);
        RequireAccepted(worked);
        const int isReady = sd_bus_is_ready(&bus);
        RequireAccepted(isReady);
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

} // namespace

BusHandle ConnectToSocket(const BasicString& path, CallDeadline deadline)
{
    FileDescriptor connected(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!connected.IsOpen())
    {
        ThrowNotConnected(errno);
    }
    Connect(connected.Get(), path, deadline);
    return AuthenticateAsClient(std::move(connected), deadline);
}

BusHandle ConnectToBus(const BasicString& address, CallDeadline deadline)
{
    try
    {
        BusHandle bus = OpenMessageBus(ResolveBusAddress(address));
        ProcessUntilReady(*bus, deadline);
        return bus;
    }
    catch (const std::system_error& error)
    {
        ThrowNotConnected(error.code().value());
    }
}

} // namespace Oxa::System::Rsc::Internal
