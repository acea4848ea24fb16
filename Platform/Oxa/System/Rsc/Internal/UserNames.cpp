#include "Oxa/System/Rsc/Internal/UserNames.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <pwd.h>

#include <array>
#include <charconv>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

namespace
{

// As much as the entry of one user needs anywhere.
constexpr std::size_t entryBytes = 16384;

} // namespace

BasicString DescribeUser(uint32 userId)
{
    std::array<char, entryBytes> buffer;
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwuid_r(userId, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    {
        return std::to_string(userId);
    }
    return System::Commons::Text::Format("'{0}' ({1})", entry.pw_name, userId);
}

std::optional<uint32> TryFindUser(const BasicString& nameOrNumber)
{
    uint32 number = 0;
    const char* const end = nameOrNumber.data() + nameOrNumber.size();
    const auto [stop, error] = std::from_chars(nameOrNumber.data(), end, number);
    if (error == std::errc() && stop == end)
    {
        return number;
    }
    std::array<char, entryBytes> buffer;
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwnam_r(nameOrNumber.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    {
        return std::nullopt;
    }
    return entry.pw_uid;
}

} // namespace Oxa::System::Rsc::Internal
