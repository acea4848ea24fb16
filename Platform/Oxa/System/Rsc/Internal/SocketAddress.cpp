#include "Oxa/System/Rsc/Internal/SocketAddress.hpp"

#include <algorithm>
#include <iterator>

namespace Oxa::System::Rsc::Internal
{

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
