#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// How long the controller has been running, and what time its clock shows. Not the value type Oxa::DateTime.
class DateTime final : public DataSection, private System::Commons::Diagnostics::Logging::Loggable<DateTime>
{
public:
    /// Keeps references to the handler's own pointers, which are filled later.
    DateTime(const BasicString& name,
             std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService,
             std::shared_ptr<Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService>& rtcService);

    /// False when the up-time was of another type than expected or anything threw; nothing is passed on.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& context) override;

private:
    [[nodiscard]] bool ReadValues();

    uint64 systemUpTimeSeconds = 0;
    /// Unix time in microseconds, as decimal text.
    BasicString currentTimestamp;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService;
    std::shared_ptr<Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService>& rtcService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
