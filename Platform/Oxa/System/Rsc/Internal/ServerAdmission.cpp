#include "Oxa/System/Rsc/Internal/ServerAdmission.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/ProtocolLimits.hpp"
#include "Oxa/System/Rsc/Internal/ServerUsers.hpp"

#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::Text::Format;

ServerAdmission::ServerAdmission(ServerUsers& users, std::deque<ServerCall>& admittedCalls) noexcept
    : users(users), admittedCalls(admittedCalls)
{
}

bool ServerAdmission::TryBegin(const ServerCall& call)
{
    if (++callsUnderWay <= maximumCallsPerConnection)
    {
        return true;
    }
    Refuse(call, Format("the connection has {0} calls under way", maximumCallsPerConnection));
    return false;
}

void ServerAdmission::Admit(ServerCall call)
{
    if (call.operation->kind == RscOperationKind::Command && !users.MayCommand(call.userId))
    {
        users.LogRefusedCommand(call.userId, call.Describe());
        Refuse(call, "the user may not call commands");
    }
    else
    {
        admittedCalls.push_back(std::move(call));
    }
}

void ServerAdmission::End() noexcept
{
    --callsUnderWay;
}

void ServerAdmission::Refuse(const ServerCall& call, const BasicString& reason)
{
    --callsUnderWay;
    const BasicString message = Format("The call of {0} is refused: {1}", call.Describe(), reason);
    RequireSuccess(sd_bus_reply_method_errorf(call.request.get(), refusedErrorName, "%s", message.c_str()),
                   "a refusal cannot be sent");
}

} // namespace Oxa::System::Rsc::Internal
