#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"

#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Rsc/Internal/ClientHandshake.hpp"
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

[[noreturn]] void ThrowNotConnected(int error)
{
    throw RscServiceException::Create(RscFault::NotAvailable, "there is no connection: {0}",
                                      std::generic_category().message(error));
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

} // namespace Oxa::System::Rsc::Internal
