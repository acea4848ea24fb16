#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::System::Um::Services::Internal
{

/// Makes proxies for IAuthorizationService. Safe from any thread.
class OXA_EXPORT AuthorizationServiceProxyFactory final : public System::Rsc::RscServiceProxyFactory
{
public:
    [[nodiscard]] static AuthorizationServiceProxyFactory& GetInstance();

    ~AuthorizationServiceProxyFactory() override;

private:
    AuthorizationServiceProxyFactory();
};

} // namespace Oxa::System::Um::Services::Internal
