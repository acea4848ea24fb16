#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/NotSupportedException.hpp"

#include <algorithm>

namespace Oxa::Services::Commons::Wbm::Modules
{

using System::Commons::ArgumentException;
using System::Commons::NotSupportedException;

WbmRequestHandlerBase::WbmRequestHandlerBase() = default;

WbmRequestHandlerBase::~WbmRequestHandlerBase() = default;

WbmResponse WbmRequestHandlerBase::HandleRequest(const WbmRequest& request)
{
    const HandlerDelegate* const handler = Find(request.GetRequestName());
    if (handler == nullptr)
    {
        throw NotSupportedException::Create("The request '{0}' is not known", request.GetRequestName());
    }
    return (*handler)(request);
}

bool WbmRequestHandlerBase::IsAvailable() const
{
    return true;
}

bool WbmRequestHandlerBase::HasPermissions(const System::Um::SecurityToken& token) const
{
    return token != System::Um::SecurityToken();
}

bool WbmRequestHandlerBase::HandlesRequest(const BasicString& requestName) const noexcept
{
    return Find(requestName) != nullptr;
}

void WbmRequestHandlerBase::RegisterHandlerDelegate(const BasicString& requestName, const HandlerDelegate& handler)
{
    if (requestName.empty() || HandlesRequest(requestName))
    {
        throw ArgumentException::Create("requestName", requestName, "The name is empty or taken");
    }
    if (!handler)
    {
        throw ArgumentException::Create("handler", requestName, "The request has no delegate");
    }
    handlers.emplace_back(requestName, handler);
}

const WbmRequestHandlerBase::HandlerDelegate* WbmRequestHandlerBase::Find(const BasicString& requestName) const noexcept
{
    const auto found = std::ranges::find(handlers, requestName, &std::pair<BasicString, HandlerDelegate>::first);
    return found != handlers.end() ? &found->second : nullptr;
}

} // namespace Oxa::Services::Commons::Wbm::Modules
