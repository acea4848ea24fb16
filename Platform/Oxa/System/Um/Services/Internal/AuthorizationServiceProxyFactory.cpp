#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"

#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <utility>

namespace Oxa::System::Um::Services::Internal
{

IAuthorizationService::~IAuthorizationService() = default;

namespace
{

class AuthorizationServiceProxy final : public IAuthorizationService
{
public:
    explicit AuthorizationServiceProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) : slot(std::move(slot)) {}

    [[nodiscard]] bool IsAuthorized(const System::Rsc::RscString<512>& objectName, uint32 permission,
                                    uint32 tokenValue) override
    {
        return slot->Acquire<IAuthorizationService>()->IsAuthorized(objectName, permission, tokenValue);
    }

private:
    std::shared_ptr<System::Rsc::RscServiceSlot> slot;
};

} // namespace

AuthorizationServiceProxyFactory::AuthorizationServiceProxyFactory() = default;

AuthorizationServiceProxyFactory::~AuthorizationServiceProxyFactory() = default;

AuthorizationServiceProxyFactory& AuthorizationServiceProxyFactory::GetInstance()
{
    static AuthorizationServiceProxyFactory instance;
    return instance;
}

const char* AuthorizationServiceProxyFactory::GetServiceInterfaceName() const
{
    return "Oxa::System::Um::Services::Internal::IAuthorizationService";
}

const char* AuthorizationServiceProxyFactory::GetServiceProviderName() const
{
    return "Oxa.System.Um";
}

System::Rsc::IRscService*
AuthorizationServiceProxyFactory::CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot)
{
    return new AuthorizationServiceProxy(std::move(slot));
}

} // namespace Oxa::System::Um::Services::Internal
