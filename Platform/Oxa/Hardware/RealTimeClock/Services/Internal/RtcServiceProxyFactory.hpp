#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::Hardware::RealTimeClock::Services::Internal
{

/// Makes proxies for IRtcService. Safe from any thread.
class OXA_EXPORT RtcServiceProxyFactory final : public System::Rsc::RscServiceProxyFactory
{
public:
    [[nodiscard]] static RtcServiceProxyFactory& GetInstance();

    ~RtcServiceProxyFactory() override;

private:
    RtcServiceProxyFactory();
};

} // namespace Oxa::Hardware::RealTimeClock::Services::Internal
