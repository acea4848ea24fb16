#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <pwd.h>

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::size_t maximumLoggedUsers = 64;
/// More than any entry of a directory service needs.
constexpr std::size_t entryBytes = 65536;

struct User
{
    BasicString name;
    uint32 id;
};

/// `query` is getpwuid_r or getpwnam_r with the user.
template <class Query>
std::optional<User> TryQuery(Query query)
{
    std::vector<char> buffer(entryBytes);
    passwd entry = {};
    passwd* found = nullptr;
    if (query(&entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
    {
        return std::nullopt;
    }
    return User{entry.pw_name, entry.pw_uid};
}

std::optional<uint32> TryFindUser(const BasicString& nameOrId)
{
    uint32 id = 0;
    const char* const end = nameOrId.data() + nameOrId.size();
    const auto [stop, error] = std::from_chars(nameOrId.data(), end, id);
    if (error == std::errc() && stop == end)
    {
        return id;
    }
    const auto user = TryQuery([&nameOrId](auto... arguments) { return getpwnam_r(nameOrId.c_str(), arguments...); });
    return user ? std::optional(user->id) : std::nullopt;
}

} // namespace

ServerUsers::ServerUsers(const std::vector<RscServerUser>& configured)
{
    for (const RscServerUser& user : configured)
    {
        if (const auto userId = TryFindUser(user.name))
        {
            bool& mayCommand = users[*userId];
            mayCommand = mayCommand || user.mayCommand;
        }
        else
        {
            Log(LogLevel::Warning, "the configured user '{0}' is not known to the system", user.name);
        }
    }
}

void ServerUsers::LogRefusedUser(uint32 userId)
{
    if (loggedUsers.size() < maximumLoggedUsers && loggedUsers.insert(userId).second)
    {
        Log(LogLevel::Warning, "the user {0} may not call the services: connection refused", DescribeUser(userId));
    }
}

void ServerUsers::LogRefusedCommand(uint32 userId, const BasicString& operation)
{
    if (refusedCommands.Admits())
    {
        Log(LogLevel::Warning, "the user {0} may not call the command '{1}': call refused", DescribeUser(userId),
            operation);
    }
}

BasicString DescribeUser(uint32 userId)
{
    const auto user = TryQuery([userId](auto... arguments) { return getpwuid_r(userId, arguments...); });
    return user ? System::Commons::Text::Format("'{0}' ({1})", user->name, userId) : std::to_string(userId);
}

} // namespace Oxa::System::Rsc::Internal
