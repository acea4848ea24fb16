#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <pwd.h>

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <string>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::size_t maximumLoggedStrangers = 64;
constexpr std::size_t firstBufferBytes = 1024;
/// Far more than any entry needs, so that a broken directory service cannot take all memory.
constexpr std::size_t lastBufferBytes = 1024 * 1024;

struct User
{
    BasicString name;
    uint32 number;
};

/// `query` is getpwuid_r or getpwnam_r with the user. Entries of directory services may have any size, so the buffer
/// grows until the entry has room.
template <class Query>
std::optional<User> TryQuery(Query query)
{
    std::vector<char> buffer(firstBufferBytes);
    passwd entry = {};
    passwd* found = nullptr;
    int error = query(entry, buffer, found);
    while (error == ERANGE && buffer.size() < lastBufferBytes)
    {
        buffer.resize(2 * buffer.size());
        error = query(entry, buffer, found);
    }
    if (error != 0 || found == nullptr)
    {
        return std::nullopt;
    }
    return User{entry.pw_name, entry.pw_uid};
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
            Log(LogLevel::Warning, "the user '{0}', who may call the services, is not known to the system", user.name);
        }
    }
}

bool ServerUsers::MayCall(uint32 userId) const noexcept
{
    return users.contains(userId);
}

bool ServerUsers::MayCommand(uint32 userId) const noexcept
{
    const auto found = users.find(userId);
    return found != users.end() && found->second;
}

void ServerUsers::LogStranger(uint32 userId)
{
    if (loggedStrangers.size() < maximumLoggedStrangers && loggedStrangers.insert(userId).second)
    {
        Log(LogLevel::Warning, "the user {0} is not allowed to call the services and was turned away",
            DescribeUser(userId));
    }
}

void ServerUsers::LogRefusedCommand(uint32 userId, const BasicString& operation)
{
    if (refusedCommands.Admits())
    {
        Log(LogLevel::Warning, "the user {0} was refused the command '{1}'", DescribeUser(userId), operation);
    }
}

BasicString DescribeUser(uint32 userId)
{
    const auto user = TryQuery([userId](passwd& entry, std::vector<char>& buffer, passwd*& found)
                               { return getpwuid_r(userId, &entry, buffer.data(), buffer.size(), &found); });
    return user ? System::Commons::Text::Format("'{0}' ({1})", user->name, userId) : std::to_string(userId);
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
    const auto user =
        TryQuery([&nameOrNumber](passwd& entry, std::vector<char>& buffer, passwd*& found)
                 { return getpwnam_r(nameOrNumber.c_str(), &entry, buffer.data(), buffer.size(), &found); });
    return user ? std::optional(user->number) : std::nullopt;
}

} // namespace Oxa::System::Rsc::Internal
