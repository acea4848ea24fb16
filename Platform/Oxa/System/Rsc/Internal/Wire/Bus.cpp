#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <limits>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

namespace
{

int UseAddress(int (*function)(int, const sockaddr*, socklen_t), int descriptor, const BasicString& path) noexcept
{
    sockaddr_un address = {};
    if (path.size() >= sizeof address.sun_path)
    {
        errno = ENAMETOOLONG;
        return -1;
    }
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return function(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

} // namespace

void RequireSuccess(int result, std::string_view what)
{
    if (result < 0)
    {
        throw System::Commons::InvalidOperationException::Create("{0}: {1}", what,
                                                                 std::generic_category().message(-result));
    }
}

bool IsHangUp(int error) noexcept
{
    return error == ECONNRESET || error == EPIPE || error == ENOTCONN || error == ESHUTDOWN || error == ECONNABORTED;
}

BusHandle MakeBus()
{
    sd_bus* made = nullptr;
    RequireSuccess(sd_bus_new(&made), "cannot create a connection");
    BusHandle bus(made);
    RequireSuccess(sd_bus_negotiate_fds(made, 0), "cannot create a connection");
    return bus;
}

int GetPollTimeout(std::chrono::steady_clock::time_point deadline) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

System::Commons::FileDescriptor MakeSocket() noexcept
{
    return System::Commons::FileDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

int ConnectSocket(int descriptor, const BasicString& path) noexcept
{
    return UseAddress(&connect, descriptor, path);
}

int BindSocket(int descriptor, const BasicString& path) noexcept
{
    return UseAddress(&bind, descriptor, path);
}

} // namespace Oxa::System::Rsc::Internal
