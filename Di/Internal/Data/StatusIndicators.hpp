#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Di/Internal/Data/StatusIndicator.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// The LEDs of the front panel, in a fixed order.
class StatusIndicators final : public DataSection,
                               private System::Commons::Diagnostics::Logging::Loggable<StatusIndicators>
{
public:
    /// Keeps a reference to the handler's own pointer, which is filled later.
    StatusIndicators(const BasicString& name,
                     std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService);
    ~StatusIndicators() override;

    /// False when the number of results is not that of the LEDs; a single LED of the wrong type is left out. Passes on
    /// what the service throws. The list of the previous update is gone in any case.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& context) override;

private:
    std::vector<StatusIndicator> indicators;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
