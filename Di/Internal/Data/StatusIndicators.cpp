#include "Di/Internal/Data/StatusIndicators.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"

#include <cstddef>
#include <utility>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

namespace
{

constexpr uint32 stateMask = 0xFFFF;
constexpr uint32 colorMask = 0xFFFF0000;

} // namespace

StatusIndicator::StatusIndicator(BasicString fullName, uint32 statusWord)
    : fullName(std::move(fullName)), stateCode(statusWord & stateMask), colorCode(statusWord & colorMask)
{
}

void StatusIndicator::ReadJson(JsonReader& /*reader*/, JsonSerializationContext& /*context*/) {}

void StatusIndicator::WriteJson(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.TryWriteStartComplexArrayItem();
    writer.WriteValue("fullName", fullName);
    writer.WriteValue("stateCode", stateCode);
    writer.WriteValue("colorCode", colorCode);
    writer.WriteEndComplexArrayItem();
}

StatusIndicators::StatusIndicators(const BasicString& name, std::shared_ptr<IDeviceStatusService>& deviceStatusService)
    : DataSection(name), deviceStatusService(deviceStatusService)
{
}

bool StatusIndicators::UpdateData()
{
    itemKeys.clear();
    indicators.clear();
    static const std::vector<BasicString> ledKeys = {
        "Status.Leds.Pnio.Bf_C",   "Status.Leds.Runtime.Run",   "Status.Leds.Pnio.Bf_D", "Status.Leds.Runtime.Fail",
        "Status.Leds.Pnio.Sf",     "Status.Leds.Runtime.Debug", "Status.Leds.Zelo.D",    "Status.Leds.Zelo.E",
        "Status.Leds.Runtime.Ext", "Status.Leds.Safety.Run",    "Status.Leds.Safety.Fs",
    };
    itemKeys = std::vector<RscString<512>>(ledKeys.begin(), ledKeys.end());
    deviceStatusService->ReadItems(keysDelegate, resultsDelegate);
    if (results.size() != itemKeys.size())
    {
        // The misspelling stays: users and tools search logs for exactly this text.
        Log(LogLevel::Debug, "Failed to read LED status values. Expected elements size missmatch!");
        return false;
    }
    for (std::size_t index = 0; index < results.size(); ++index)
    {
        uint32 statusWord = 0;
        if (!ConvRscVariant512Value(results.at(index), statusWord))
        {
            Log(LogLevel::Debug, "Failed to read LED status values. Read data type!");
            continue;
        }
        indicators.emplace_back(ledKeys.at(index), statusWord);
    }
    return true;
}

void StatusIndicators::WriteJsonData(JsonWriter& writer, JsonSerializationContext& context)
{
    writer.WriteStartComplexArray(GetName());
    for (StatusIndicator& indicator : indicators)
    {
        indicator.WriteJson(writer, context);
    }
    writer.TryWriteEndComplexArray();
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
