#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::System::Um::Services::Internal
{

/// Makes proxies for IAuthorizationService. Safe from any thread.
class OXA_EXPORT AuthorizationServiceProxyFactory final : public System::Rsc::IRscServiceProxyFactory
{
public:
    [[nodiscard]] static AuthorizationServiceProxyFactory& GetInstance();

    ~AuthorizationServiceProxyFactory() override;

    [[nodiscard]] const char* GetServiceInterfaceName() const override;
    [[nodiscard]] const char* GetServiceProviderName() const override;
    [[nodiscard]] System::Rsc::IRscService* CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) override;

private:
    AuthorizationServiceProxyFactory();
};

} // namespace Oxa::System::Um::Services::Internal
