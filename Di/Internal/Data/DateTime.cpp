#include "Di/Internal/Data/DateTime.hpp"

#include "Oxa/System/Commons/Json/JsonWriter.hpp"
#include "Oxa/System/Commons/OxaDateTime.hpp"

#include <boost/lexical_cast.hpp>

#include <string>

namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
{

using Oxa::Device::Interface::Services::IDeviceStatusService;
using Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Json::JsonSerializationContext;
using System::Commons::Json::JsonWriter;
using System::Rsc::RscString;

DateTime::DateTime(const BasicString& name, std::shared_ptr<IDeviceStatusService>& deviceStatusService,
                   std::shared_ptr<IRtcService>& rtcService)
    : DataSection(name), deviceStatusService(deviceStatusService), rtcService(rtcService)
{
}

bool DateTime::UpdateData()
{
    // Unlike the other sections this one reports every fault of its services as "no data", without a log line: clients
    // rely on the difference.
    try
    {
        return ReadValues();
    }
    catch (...)
    {
        return false;
    }
}

void DateTime::WriteJsonData(JsonWriter& writer, JsonSerializationContext& /*context*/)
{
    writer.WriteStartObject(GetName());
    writer.WriteValue("systemUpTime", systemUpTimeSeconds);
    writer.WriteValue("currentTimestamp", currentTimestamp);
    writer.WriteEndObject();
}

bool DateTime::ReadValues()
{
    const bool isUpTimeRead = ConvRscVariant512Value(
        deviceStatusService->ReadItem(RscString<512>("Status.System.UpTime.Seconds")), systemUpTimeSeconds);
    if (!isUpTimeRead)
    {
        Log(LogLevel::Debug, "Failed to update system up time. Data type error");
    }
    const Oxa::DateTime now = rtcService->ReadDateTime();
    if (now.GetTicks() == 0)
    {
        return isUpTimeRead;
    }
    // This conversion groups the digits as the process's global locale says; clients of such systems expect it.
    currentTimestamp = boost::lexical_cast<std::string>(now.ToUnixTimeMicroseconds());
    return isUpTimeRead;
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal::Data
