#include "Oxa/System/Rsc/RscCallContext.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"

#include <utility>

namespace Oxa::System::Rsc
{

namespace
{

thread_local RscCallContext* currentContext = nullptr;

} // namespace

RscCallContext::RscCallContext(uint32 userId, int32 processId)
    : userId(userId), processId(processId), previous(std::exchange(currentContext, this))
{
}

RscCallContext::~RscCallContext()
{
    currentContext = previous;
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

uint32 RscCallContext::GetUserId() const noexcept
{
    return userId;
}

void RscCallContext::RunAfterAnswer(std::function<void()> function)
{
    answeredFunctions.push_back(std::move(function));
}

void RscCallContext::DropConnection() noexcept
{
    isDropped = true;
}

bool RscCallContext::IsDropped() const noexcept
{
    return isDropped;
}

void RscCallContext::RunAnswered() noexcept
{
    for (const auto& function : std::exchange(answeredFunctions, {}))
    {
        function();
    }
}

} // namespace Oxa::System::Rsc
