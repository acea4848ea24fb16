#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

void RequireSuccess(int result, std::string_view what)
{
    if (result < 0)
    {
        throw System::Commons::InvalidOperationException::Create("{0}: {1}", what,
                                                                 std::generic_category().message(-result));
    }
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

std::optional<sockaddr_un> TryMakeSocketAddress(const BasicString& path) noexcept
{
    sockaddr_un address = {};
    if (path.size() >= sizeof address.sun_path)
    {
        return std::nullopt;
    }
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return address;
}

const sockaddr* AsGeneralAddress(const sockaddr_un& address) noexcept
{
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace Oxa::System::Rsc::Internal
