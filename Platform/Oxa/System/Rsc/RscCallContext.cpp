#include "Oxa/System/Rsc/RscCallContext.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

namespace
{

// The operations of a service are given and have no parameter for it.
thread_local RscCallContext* currentContext = nullptr;

} // namespace

RscCallContext::RscCallContext(uint32 userId, int32 processId)
    : userId(userId), processId(processId), outer(std::exchange(currentContext, this))
{
}

RscCallContext::~RscCallContext()
{
    currentContext = outer;
}

RscCallContext* RscCallContext::TryGetCurrent() noexcept
{
    return currentContext;
}

BasicString RscCallContext::DescribeCaller()
{
    if (currentContext == nullptr)
    {
        return "this process";
    }
    const BasicString user = "user " + Internal::DescribeUser(currentContext->userId);
    const int32 process = currentContext->processId;
    return process == 0 ? user : System::Commons::Text::Format("{0}, process {1}", user, process);
}

void RscCallContext::RunAfterAnswer(std::function<void()> function)
{
    answeredFunctions.push_back(std::move(function));
}

void RscCallContext::RunAnswered() noexcept
{
    for (const auto& function : std::exchange(answeredFunctions, {}))
    {
        function();
    }
}

} // namespace Oxa::System::Rsc
