#include "Oxa/System/Rsc/RscString.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace Oxa::System::Rsc
{

std::size_t SecureStrnlen(const char* text, std::size_t maximum) noexcept
{
    return strnlen(text, maximum);
}

std::size_t SecureStrncpy(char* destination, std::size_t destinationBytes, const char* source,
                          std::size_t count) noexcept
{
    assert(destinationBytes > 0);
    const std::size_t length = SecureStrnlen(source, std::min(count, destinationBytes - 1));
    std::memcpy(destination, source, length);
    destination[length] = '\0';
    return length;
}

} // namespace Oxa::System::Rsc
