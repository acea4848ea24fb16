#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"

#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <utility>

namespace Oxa::Device::Interface::Services
{

using System::Rsc::RscMessageReader;
using System::Rsc::RscMessageWriter;
using System::Rsc::RscOperationKind;

IDeviceControlService::~IDeviceControlService() = default;

namespace
{

class DeviceControlServiceProxy final : public IDeviceControlService
{
public:
    explicit DeviceControlServiceProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot) : slot(std::move(slot)) {}

    AccessErrorCode Restart() override
    {
        return slot->Acquire<IDeviceControlService>()->Restart();
    }

    [[nodiscard]] AccessErrorCode FactoryReset(uint16 resetKind) override
    {
        return slot->Acquire<IDeviceControlService>()->FactoryReset(resetKind);
    }

private:
    std::shared_ptr<System::Rsc::RscServiceSlot> slot;
};

void InvokeRestart(System::Rsc::IRscService& service, RscMessageReader& /*arguments*/, RscMessageWriter& results)
{
    results.WriteUint16(static_cast<uint16>(dynamic_cast<IDeviceControlService&>(service).Restart()));
}

void InvokeFactoryReset(System::Rsc::IRscService& service, RscMessageReader& arguments, RscMessageWriter& results)
{
    const uint16 resetKind = arguments.ReadUint16();
    results.WriteUint16(static_cast<uint16>(dynamic_cast<IDeviceControlService&>(service).FactoryReset(resetKind)));
}

constexpr System::Rsc::RscOperation controlOperations[] = {
    {"Restart", RscOperationKind::Command, "", "q", &InvokeRestart},
    {"FactoryReset", RscOperationKind::Command, "q", "q", &InvokeFactoryReset},
};

/// The service in another process. Safe from several threads.
class RemoteControlService final : public IDeviceControlService
{
public:
    explicit RemoteControlService(std::shared_ptr<System::Rsc::RscRemoteService> service) : service(std::move(service))
    {
    }

    AccessErrorCode Restart() override
    {
        return Call(controlOperations[0], [](RscMessageWriter&) {});
    }

    [[nodiscard]] AccessErrorCode FactoryReset(uint16 resetKind) override
    {
        return Call(controlOperations[1], [resetKind](RscMessageWriter& writer) { writer.WriteUint16(resetKind); });
    }

private:
    AccessErrorCode Call(const System::Rsc::RscOperation& operation,
                         const System::Rsc::RscRemoteService::WriteFunction& writeArguments)
    {
        uint16 code = 0;
        service->Call(operation, writeArguments, [&code](RscMessageReader& reader) { code = reader.ReadUint16(); });
        return static_cast<AccessErrorCode>(code);
    }

    const std::shared_ptr<System::Rsc::RscRemoteService> service;
};

} // namespace

DeviceControlServiceProxyFactory::DeviceControlServiceProxyFactory() = default;

DeviceControlServiceProxyFactory::~DeviceControlServiceProxyFactory() = default;

DeviceControlServiceProxyFactory& DeviceControlServiceProxyFactory::GetInstance()
{
    static DeviceControlServiceProxyFactory instance;
    return instance;
}

const char* DeviceControlServiceProxyFactory::GetServiceInterfaceName() const
{
    return "Oxa::Device::Interface::Services::IDeviceControlService";
}

const char* DeviceControlServiceProxyFactory::GetServiceProviderName() const
{
    return "Oxa.Device";
}

System::Rsc::IRscService*
DeviceControlServiceProxyFactory::CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> slot)
{
    return new DeviceControlServiceProxy(std::move(slot));
}

std::span<const System::Rsc::RscOperation> DeviceControlServiceProxyFactory::GetOperations() const noexcept
{
    return controlOperations;
}

std::shared_ptr<System::Rsc::IRscService>
DeviceControlServiceProxyFactory::CreateRemote(std::shared_ptr<System::Rsc::RscRemoteService> service)
{
    return std::make_shared<RemoteControlService>(std::move(service));
}

} // namespace Oxa::Device::Interface::Services
