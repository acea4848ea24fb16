#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include <cstddef>
#include <iterator>
#include <ostream>
#include <string>

namespace Oxa::Device::Interface::Services
{

using namespace System::Rsc;

IDeviceControlService::~IDeviceControlService() = default;

namespace
{

class DeviceControlServiceProxy final : public RscForwarder<IDeviceControlService, RscServiceSlot>
{
public:
    using RscForwarder::RscForwarder;

    AccessErrorCode Restart() override
    {
        return target->Acquire<IDeviceControlService>()->Restart();
    }

    [[nodiscard]] AccessErrorCode FactoryReset(uint16 resetKind) override
    {
        return target->Acquire<IDeviceControlService>()->FactoryReset(resetKind);
    }
};

void InvokeRestart(IRscService& service, RscMessageReader& /*arguments*/, RscMessageWriter& results)
{
    results.WriteUint16(static_cast<uint16>(dynamic_cast<IDeviceControlService&>(service).Restart()));
}

void InvokeFactoryReset(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    const uint16 resetKind = arguments.ReadUint16();
    results.WriteUint16(static_cast<uint16>(dynamic_cast<IDeviceControlService&>(service).FactoryReset(resetKind)));
}

constexpr RscOperation controlOperations[] = {
    {"Restart", RscOperationKind::Command, "", "q", &InvokeRestart},
    {"FactoryReset", RscOperationKind::Command, "q", "q", &InvokeFactoryReset},
};

class RemoteDeviceControlService final : public RscForwarder<IDeviceControlService, RscRemoteService>
{
public:
    using RscForwarder::RscForwarder;

    AccessErrorCode Restart() override
    {
        return Call(controlOperations[0], nullptr);
    }

    [[nodiscard]] AccessErrorCode FactoryReset(uint16 resetKind) override
    {
        return Call(controlOperations[1], [resetKind](RscMessageWriter& writer) { writer.WriteUint16(resetKind); });
    }

private:
    AccessErrorCode Call(const RscOperation& operation, const RscRemoteService::WriteFunction& writeArguments)
    {
        uint16 code = 0;
        target->Call(operation, writeArguments, [&code](RscMessageReader& reader) { code = reader.ReadUint16(); });
        return static_cast<AccessErrorCode>(code);
    }
};

} // namespace

DeviceControlServiceProxyFactory::DeviceControlServiceProxyFactory()
    : RscServiceProxyFactory("Oxa::Device::Interface::Services::IDeviceControlService", "Oxa.Device",
                             Classes<DeviceControlServiceProxy, RemoteDeviceControlService>(), controlOperations)
{
}

DeviceControlServiceProxyFactory::~DeviceControlServiceProxyFactory() = default;

DeviceControlServiceProxyFactory& DeviceControlServiceProxyFactory::GetInstance()
{
    static DeviceControlServiceProxyFactory instance;
    return instance;
}

std::ostream& operator<<(std::ostream& stream, AccessErrorCode code)
{
    // In the order of the enumerators.
    static constexpr const char* texts[] = {"success",          "not supported", "busy",          "access denied",
                                            "invalid argument", "timed out",     "not available", "device fault"};
    const auto number = static_cast<std::size_t>(code);
    return number < std::size(texts) ? stream << texts[number] : stream << "unknown error " << std::to_string(number);
}

} // namespace Oxa::Device::Interface::Services
