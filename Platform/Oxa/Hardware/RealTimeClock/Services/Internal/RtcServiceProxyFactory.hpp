#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Hardware::RealTimeClock::Services::Internal
{

/// Makes proxies for IRtcService. Safe from any thread.
class OXA_EXPORT RtcServiceProxyFactory final : public System::Rsc::IRscServiceProxyFactory
{
public:
    [[nodiscard]] static RtcServiceProxyFactory& GetInstance();

    ~RtcServiceProxyFactory() override;

    [[nodiscard]] const char* GetServiceInterfaceName() const override;
    [[nodiscard]] const char* GetServiceProviderName() const override;
    [[nodiscard]] System::Rsc::IRscService* CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) override;
    [[nodiscard]] std::span<const System::Rsc::RscOperation> GetOperations() const noexcept override;
    [[nodiscard]] std::shared_ptr<System::Rsc::IRscService>
    CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service) override;

private:
    RtcServiceProxyFactory();
};

} // namespace Oxa::Hardware::RealTimeClock::Services::Internal
