#pragma once

#include "Di/Internal/Data/DataSection.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <memory>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// Memory, user partition and CPU load. The number of cores is learned once, at set-up.
class Utilization final : public DataSection, private System::Commons::Diagnostics::Logging::Loggable<Utilization>
{
public:
    /// Keeps references to the handler's own pointers, which are filled later.
    Utilization(const BasicString& name,
                std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService,
                std::shared_ptr<Oxa::Device::Interface::Services::IDeviceInfoService>& deviceInfoService);

    /// Passes on what the service throws. Without the service everything stays as it is.
    void Setup() override;

    /// False when a number or a type is not the expected one, or the number of cores is 0. Passes on what the service
    /// throws, and std::out_of_range when there are fewer results than the process's first update had.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(System::Commons::Json::JsonWriter& writer,
                       System::Commons::Json::JsonSerializationContext& context) override;

private:
    [[nodiscard]] bool ConvertDeviceValues();
    [[nodiscard]] bool ConvertCoreLoads(uint32 lastResultIndex);

    uint8 memoryUsagePercent = 0;
    /// Bytes, as the status service delivers them.
    uint64 userPartitionTotal = 0;
    uint64 userPartitionUsage = 0;
    uint8 userPartitionUsagePercent = 0;
    uint8 cpuCoresCount = 0;
    uint8 cpuLoadTotalPercent = 0;
    /// Core 1 first.
    std::vector<uint8> cpuCoresLoadPercent;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceStatusService>& deviceStatusService;
    std::shared_ptr<Oxa::Device::Interface::Services::IDeviceInfoService>& deviceInfoService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
