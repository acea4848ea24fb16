#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"

#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"

#include <utility>

namespace Oxa::Hardware::RealTimeClock::Services::Internal
{

IRtcService::~IRtcService() = default;

namespace
{

class RtcServiceProxy final : public IRtcService
{
public:
    explicit RtcServiceProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) : slot(std::move(slot)) {}

    void WriteDateTime(const Oxa::DateTime& dateTime) override
    {
        slot->Acquire<IRtcService>()->WriteDateTime(dateTime);
    }

    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        return slot->Acquire<IRtcService>()->ReadDateTime();
    }

private:
    std::shared_ptr<System::Rsc::RscServiceSlot> slot;
};

} // namespace

RtcServiceProxyFactory::RtcServiceProxyFactory() = default;

RtcServiceProxyFactory::~RtcServiceProxyFactory() = default;

RtcServiceProxyFactory& RtcServiceProxyFactory::GetInstance()
{
    static RtcServiceProxyFactory instance;
    return instance;
}

const char* RtcServiceProxyFactory::GetServiceInterfaceName() const
{
    return "Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService";
}

const char* RtcServiceProxyFactory::GetServiceProviderName() const
{
    return "Oxa.Device";
}

System::Rsc::IRscService* RtcServiceProxyFactory::CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot)
{
    return new RtcServiceProxy(std::move(slot));
}

} // namespace Oxa::Hardware::RealTimeClock::Services::Internal
