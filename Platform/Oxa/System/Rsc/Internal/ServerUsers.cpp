#include "Oxa/System/Rsc/Internal/ServerUsers.hpp"

#include "Oxa/System/Rsc/Internal/UserNames.hpp"

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

constexpr std::size_t maximumLoggedStrangers = 64;

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
        Log(LogLevel::Warning, "the user {0} was refused the command {1}", DescribeUser(userId), operation);
    }
}

} // namespace Oxa::System::Rsc::Internal
