#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"

#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

namespace Oxa::System::Um::Services::Internal
{

using System::Rsc::RscForwarder;
using System::Rsc::RscServiceSlot;

IAuthorizationService::~IAuthorizationService() = default;

namespace
{

class AuthorizationServiceProxy final : public RscForwarder<IAuthorizationService, RscServiceSlot>
{
public:
    using RscForwarder::RscForwarder;

    [[nodiscard]] bool IsAuthorized(const System::Rsc::RscString<512>& objectName, uint32 permission,
                                    uint32 tokenValue) override
    {
        return target->Acquire<IAuthorizationService>()->IsAuthorized(objectName, permission, tokenValue);
    }
};

} // namespace

AuthorizationServiceProxyFactory::AuthorizationServiceProxyFactory()
    : RscServiceProxyFactory("Oxa::System::Um::Services::Internal::IAuthorizationService", "Oxa.System.Um",
                             Classes<AuthorizationServiceProxy>())
{
}

AuthorizationServiceProxyFactory::~AuthorizationServiceProxyFactory() = default;

AuthorizationServiceProxyFactory& AuthorizationServiceProxyFactory::GetInstance()
{
    static AuthorizationServiceProxyFactory instance;
    return instance;
}

} // namespace Oxa::System::Um::Services::Internal
