#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

namespace
{

void Require(int result)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category());
    }
}

} // namespace

BusHandle MakeBus()
{
    sd_bus* made = nullptr;
    Require(sd_bus_new(&made));
    BusHandle bus(made);
    Require(sd_bus_negotiate_fds(made, 0));
    return bus;
}

int GetPollTimeout(std::chrono::steady_clock::time_point deadline, int most) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, most));
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
