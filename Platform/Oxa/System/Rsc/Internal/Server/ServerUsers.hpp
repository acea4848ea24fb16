#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"

#include <map>
#include <set>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// "'oxa-wbm' (998)"; "998" when the system has no user of that id. Safe from any thread.
[[nodiscard]] BasicString DescribeUser(uint32 userId);

/// Who may call the server, by user id. Owned by the server's loop. Threads: one at a time.
class ServerUsers final : private System::Commons::Diagnostics::Logging::Loggable<ServerUsers>
{
public:
    /// Users that the system does not know are logged and ignored.
    explicit ServerUsers(const std::vector<RscServerUser>& configured);

    [[nodiscard]] bool MayCall(uint32 userId) const noexcept
    {
        return users.contains(userId);
    }

    [[nodiscard]] bool MayCommand(uint32 userId) const noexcept
    {
        const auto found = users.find(userId);
        return found != users.end() && found->second;
    }

    /// Logged once for each user, and for a bounded number of them.
    void LogRefusedUser(uint32 userId);
    void LogRefusedCommand(uint32 userId, const BasicString& operation);

private:
    /// Whether each may command.
    std::map<uint32, bool> users;
    std::set<uint32> loggedUsers;
    System::Commons::Diagnostics::Logging::LogRateLimiter refusedCommands;
};

} // namespace Oxa::System::Rsc::Internal
