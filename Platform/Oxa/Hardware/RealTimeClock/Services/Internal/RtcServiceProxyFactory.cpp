#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"

#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

namespace Oxa::Hardware::RealTimeClock::Services::Internal
{

using namespace System::Rsc;

IRtcService::~IRtcService() = default;

namespace
{

class RtcServiceProxy final : public RscForwarder<IRtcService, RscServiceSlot>
{
public:
    using RscForwarder::RscForwarder;

    void WriteDateTime(const Oxa::DateTime& dateTime) override
    {
        target->Acquire<IRtcService>()->WriteDateTime(dateTime);
    }

    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        return target->Acquire<IRtcService>()->ReadDateTime();
    }
};

void InvokeWriteDateTime(IRscService& service, RscMessageReader& arguments, RscMessageWriter& /*results*/)
{
    dynamic_cast<IRtcService&>(service).WriteDateTime(Oxa::DateTime::FromValue(arguments.ReadUint64()));
}

void InvokeReadDateTime(IRscService& service, RscMessageReader& /*arguments*/, RscMessageWriter& results)
{
    results.WriteUint64(dynamic_cast<IRtcService&>(service).ReadDateTime().GetValue());
}

constexpr RscOperation clockOperations[] = {
    {"WriteDateTime", RscOperationKind::Command, "t", "", &InvokeWriteDateTime},
    {"ReadDateTime", RscOperationKind::Read, "", "t", &InvokeReadDateTime},
};

class RemoteRtcService final : public RscForwarder<IRtcService, RscRemoteService>
{
public:
    using RscForwarder::RscForwarder;

    void WriteDateTime(const Oxa::DateTime& dateTime) override
    {
        const uint64 value = dateTime.GetValue();
        target->Call(
            clockOperations[0], [value](RscMessageWriter& writer) { writer.WriteUint64(value); }, nullptr);
    }

    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        uint64 value = 0;
        target->Call(clockOperations[1], nullptr, [&value](RscMessageReader& reader) { value = reader.ReadUint64(); });
        return Oxa::DateTime::FromValue(value);
    }
};

} // namespace

RtcServiceProxyFactory::RtcServiceProxyFactory()
    : RscServiceProxyFactory("Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService", "Oxa.Device",
                             Classes<RtcServiceProxy, RemoteRtcService>(), clockOperations)
{
}

RtcServiceProxyFactory::~RtcServiceProxyFactory() = default;

RtcServiceProxyFactory& RtcServiceProxyFactory::GetInstance()
{
    static RtcServiceProxyFactory instance;
    return instance;
}

} // namespace Oxa::Hardware::RealTimeClock::Services::Internal
