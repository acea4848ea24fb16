#pragma once

#include "Oxa/Services/Commons/Wbm/WbmRequest.hpp"
#include "Oxa/Services/Commons/Wbm/WbmResponse.hpp"
#include "Oxa/System/Commons/Delegate.hpp"
#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <utility>
#include <vector>

namespace Oxa::Services::Commons::Wbm::Modules
{

/// Handles the requests of one data provider, by request name.
/// Threads: the host calls one request at a time; `IsAvailable` and `HasPermissions` may be called from any thread at
/// the same time. Delegates are registered in the constructor only.
class OXA_EXPORT WbmRequestHandlerBase
{
public:
    using HandlerDelegate = Oxa::delegate<WbmResponse(const WbmRequest&)>;

    WbmRequestHandlerBase(const WbmRequestHandlerBase&) = delete;
    WbmRequestHandlerBase& operator=(const WbmRequestHandlerBase&) = delete;
    virtual ~WbmRequestHandlerBase();

    /// Calls the delegate of the request's name and passes on what it throws. Throws NotSupportedException for an
    /// unknown name; `HandlesRequest` checks it beforehand.
    [[nodiscard]] virtual WbmResponse HandleRequest(const WbmRequest& request);

    /// Whether requests can be handled now. By default always.
    [[nodiscard]] virtual bool IsAvailable() const;

    /// Whether the token's user may send requests. By default every user who is logged in.
    [[nodiscard]] virtual bool HasPermissions(const System::Um::SecurityToken& token) const;

    /// Whether a delegate is registered under that name, byte for byte.
    [[nodiscard]] bool HandlesRequest(const BasicString& requestName) const noexcept;

protected:
    WbmRequestHandlerBase();

    /// Throws ArgumentException when the name is empty or taken, or the delegate is empty.
    void RegisterHandlerDelegate(const BasicString& requestName, const HandlerDelegate& handler);

private:
    [[nodiscard]] const HandlerDelegate* Find(const BasicString& requestName) const noexcept;

    // Few names: a linear search is faster than a hash.
    std::vector<std::pair<BasicString, HandlerDelegate>> handlers;
};

} // namespace Oxa::Services::Commons::Wbm::Modules
