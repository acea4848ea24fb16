#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"

#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <utility>

namespace Oxa::Hardware::RealTimeClock::Services::Internal
{

using System::Rsc::RscMessageReader;
using System::Rsc::RscMessageWriter;
using System::Rsc::RscOperationKind;

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

void InvokeWriteDateTime(System::Rsc::IRscService& service, RscMessageReader& arguments, RscMessageWriter& /*results*/)
{
    dynamic_cast<IRtcService&>(service).WriteDateTime(Oxa::DateTime::FromValue(arguments.ReadUint64()));
}

void InvokeReadDateTime(System::Rsc::IRscService& service, RscMessageReader& /*arguments*/, RscMessageWriter& results)
{
    results.WriteUint64(dynamic_cast<IRtcService&>(service).ReadDateTime().GetValue());
}

constexpr System::Rsc::RscOperation clockOperations[] = {
    {"WriteDateTime", RscOperationKind::Command, "t", "", &InvokeWriteDateTime},
    {"ReadDateTime", RscOperationKind::Read, "", "t", &InvokeReadDateTime},
};

/// The clock of another process. Safe from several threads.
class RemoteRtcService final : public IRtcService
{
public:
    explicit RemoteRtcService(std::shared_ptr<System::Rsc::RscRemoteService> service) : service(std::move(service)) {}

    void WriteDateTime(const Oxa::DateTime& dateTime) override
    {
        service->Call(
            clockOperations[0], [&dateTime](RscMessageWriter& writer) { writer.WriteUint64(dateTime.GetValue()); },
            [](RscMessageReader&) {});
    }

    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        Oxa::DateTime dateTime;
        service->Call(
            clockOperations[1], [](RscMessageWriter&) {},
            [&dateTime](RscMessageReader& reader) { dateTime = Oxa::DateTime::FromValue(reader.ReadUint64()); });
        return dateTime;
    }

private:
    const std::shared_ptr<System::Rsc::RscRemoteService> service;
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

std::span<const System::Rsc::RscOperation> RtcServiceProxyFactory::GetOperations() const noexcept
{
    return clockOperations;
}

std::shared_ptr<System::Rsc::IRscService>
RtcServiceProxyFactory::CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service)
{
    return std::make_shared<RemoteRtcService>(std::move(service));
}

} // namespace Oxa::Hardware::RealTimeClock::Services::Internal
