#include "Di/Internal/Data/Utilization.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/Text.hpp"

#include <cstddef>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using System::Commons::Text::Format;

namespace
{

constexpr const char* coreLoadKeyTemplate = "Status.Cpu.{0}.Load.Percent";

/// The index of the first core's load in the results.
constexpr uint32 firstCoreIndex = 5;

} // namespace

Utilization::Utilization(const BasicString& name, std::shared_ptr<IDeviceStatusService>& deviceStatusService,
                         std::shared_ptr<IDeviceInfoService>& deviceInfoService)
    : DataSection(name), deviceStatusService(deviceStatusService), deviceInfoService(deviceInfoService)
{
}

void Utilization::Setup()
{
    if (!deviceInfoService)
    {
        return;
    }
    itemKeys.clear();
    if (ConvRscVariant512Value(deviceInfoService->ReadItem(RscString<512>("Cpu.Cores.Count")), cpuCoresCount))
    {
        Log(LogLevel::Debug, "CPU cores count: {0}", cpuCoresCount);
    }
    else
    {
        // The count is now 255, the conversion's failure value, and that many cores are read: the response makes the
        // fault obvious. Deliberate, not to be changed.
        Log(LogLevel::Debug, "Failed to get CPU cores count");
    }
    for (const char* const key :
         {"Status.Memory.Usage.Percent.Actual", "Status.UserPartition.Total", "Status.UserPartition.Usage",
          "Status.UserPartition.Usage.Percent", "Status.Cpu.0.Load.Percent"})
    {
        itemKeys.emplace_back(key);
    }
    for (uint32 core = 1; core <= cpuCoresCount; ++core)
    {
        itemKeys.emplace_back(Format(coreLoadKeyTemplate, core));
    }
}

bool Utilization::UpdateData()
{
    // One for all objects, fixed by the first update, even one that fails below, and never changed as long as the
    // library is loaded. Deliberate, not to be changed: with fewer cores later the response is an exception, and after
    // a first update with 0 cores no load is ever listed; clients are told both.
    static const uint32 lastResultIndex = uint32{cpuCoresCount} + firstCoreIndex - 1;

    const std::size_t expectedCount = itemKeys.size();
    if (cpuCoresCount == 0)
    {
        return false;
    }
    deviceStatusService->ReadItems(keysDelegate, resultsDelegate);
    if (results.size() != expectedCount)
    {
        // The text says "general data" here too, and is misspelled: users and tools search logs for exactly this one.
        Log(LogLevel::Warning, "Failed to get device general data. Size missmatch error. Expected: {0}, Result: {1}",
            expectedCount, results.size());
        return false;
    }
    const bool areDeviceValuesRead = ConvertDeviceValues();
    const bool areCoreLoadsRead = ConvertCoreLoads(lastResultIndex);
    return areDeviceValuesRead && areCoreLoadsRead;
}

void Utilization::WriteJsonData(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.WriteStartObject(GetName());
    writer.WriteValue("memoryUsagePercent", memoryUsagePercent);
    writer.WriteValue("userPartitionTotal", userPartitionTotal);
    writer.WriteValue("userPartitionUsage", userPartitionUsage);
    writer.WriteValue("userPartitionUsagePercent", userPartitionUsagePercent);
    writer.WriteValue("cpuCoresCount", cpuCoresCount);
    writer.WriteValue("cpuLoadTotal", cpuLoadTotalPercent);
    writer.WriteSimpleArray("cpuCoresLoad", cpuCoresLoadPercent);
    writer.WriteEndObject();
}

bool Utilization::ConvertDeviceValues()
{
    // Every value is converted, also behind one that fails.
    bool isComplete = ConvRscVariant512Value(results.at(0), memoryUsagePercent);
    isComplete &= ConvRscVariant512Value(results.at(1), userPartitionTotal);
    isComplete &= ConvRscVariant512Value(results.at(2), userPartitionUsage);
    isComplete &= ConvRscVariant512Value(results.at(3), userPartitionUsagePercent);
    isComplete &= ConvRscVariant512Value(results.at(4), cpuLoadTotalPercent);
    return isComplete;
}

bool Utilization::ConvertCoreLoads(uint32 lastResultIndex)
{
    cpuCoresLoadPercent.clear();
    bool isComplete = true;
    for (uint32 index = firstCoreIndex; index <= lastResultIndex; ++index)
    {
        uint8 loadPercent = 0;
        isComplete &= ConvRscVariant512Value(results.at(index), loadPercent);
        cpuCoresLoadPercent.push_back(loadPercent);
    }
    return isComplete;
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
