#pragma once

#include "Oxa/Services/Commons/Wbm/RequestParams.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/SecurityToken.hpp"

#include <utility>

namespace Oxa::Services::Commons::Wbm
{

/// One request of one caller to a data provider.
class WbmRequest final
{
public:
    WbmRequest(BasicString requestName, RequestParams requestParams, System::Um::SecurityToken securityToken)
        : requestName(std::move(requestName)), requestParams(std::move(requestParams)), securityToken(securityToken)
    {
    }

    [[nodiscard]] const BasicString& GetRequestName() const noexcept
    {
        return requestName;
    }

    [[nodiscard]] const RequestParams& GetRequestParams() const noexcept
    {
        return requestParams;
    }

    [[nodiscard]] const System::Um::SecurityToken& GetSecurityToken() const noexcept
    {
        return securityToken;
    }

private:
    BasicString requestName;
    RequestParams requestParams;
    System::Um::SecurityToken securityToken;
};

} // namespace Oxa::Services::Commons::Wbm
