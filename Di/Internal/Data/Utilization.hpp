#pragma once

#include "Di/Internal/Data/DataSection.hpp"

#include <memory>
#include <vector>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

/// Memory, user partition and CPU load. The number of cores is learned once, at set-up.
class Utilization final : public DataSection, private Loggable<Utilization>
{
public:
    /// Keeps references to the handler's own pointers, which are filled later.
    Utilization(const BasicString& name, std::shared_ptr<IDeviceStatusService>& deviceStatusService,
                std::shared_ptr<IDeviceInfoService>& deviceInfoService);

    /// Passes on what the service throws. Without the service everything stays as it is.
    void Setup() override;

    /// False when a number or a type is not the expected one, or the number of cores is 0. Passes on what the service
    /// throws, and std::out_of_range when there are fewer cores than at the first update since the library was loaded.
    [[nodiscard]] bool UpdateData() override;

    void WriteJsonData(JsonWriter& writer, JsonSerializationContext& context) override;

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
    std::shared_ptr<IDeviceStatusService>& deviceStatusService;
    std::shared_ptr<IDeviceInfoService>& deviceInfoService;
};

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
