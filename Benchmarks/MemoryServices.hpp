#pragma once

#include "Benchmarks/RefreshValues.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Oxa/System/Um/Services/Internal/IAuthorizationService.hpp"

#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

/// A device whose services respond from memory, so that their own time hardly counts.
namespace Oxa::Benchmarks
{

template <class TService>
class MemoryItemService final : public TService
{
public:
    explicit MemoryItemService(std::unordered_map<std::string_view, ItemValue> values) : values(std::move(values)) {}

    [[nodiscard]] ItemValue ReadItem(const ItemKey& key) override
    {
        const auto found = values.find(key.GetView());
        return found == values.end() ? ItemValue() : found->second;
    }

    void ReadItems(Oxa::Device::Interface::Services::WriteItemKeysDelegate writeKeys,
                   Oxa::Device::Interface::Services::ReadItemValuesDelegate readValues) override
    {
        KeyCollector collector(*this);
        writeKeys(collector);
        FoundValues foundValues(found);
        readValues(foundValues);
    }

private:
    struct KeyCollector final : System::Rsc::IRscWriteEnumerator<ItemKey>
    {
        explicit KeyCollector(MemoryItemService& service) : service(service) {}

        void BeginWrite(std::size_t count) override
        {
            service.found.clear();
            service.found.reserve(count);
        }

        void WriteNext(const ItemKey& key) override
        {
            service.found.push_back(&service.values.at(key.GetView()));
        }

        void EndWrite() override {}

        MemoryItemService& service;
    };

    struct FoundValues final : System::Rsc::IRscReadEnumerator<ItemValue>
    {
        explicit FoundValues(const std::vector<const ItemValue*>& values) : values(values) {}

        std::size_t BeginRead() override
        {
            return values.size();
        }

        bool ReadNext(ItemValue& value) override
        {
            if (next == values.size())
            {
                return false;
            }
            value = *values[next++];
            return true;
        }

        void EndRead() override {}

        const std::vector<const ItemValue*>& values;
        std::size_t next = 0;
    };

    std::unordered_map<std::string_view, ItemValue> values;
    std::vector<const ItemValue*> found;
};

struct MemoryControlService final : Oxa::Device::Interface::Services::IDeviceControlService
{
    Oxa::Device::Interface::Services::AccessErrorCode Restart() override
    {
        return Oxa::Device::Interface::Services::AccessErrorCode::None;
    }

    [[nodiscard]] Oxa::Device::Interface::Services::AccessErrorCode FactoryReset(uint16 /*resetKind*/) override
    {
        return Oxa::Device::Interface::Services::AccessErrorCode::None;
    }
};

struct MemoryRtcService final : Oxa::Hardware::RealTimeClock::Services::Internal::IRtcService
{
    void WriteDateTime(const Oxa::DateTime& /*dateTime*/) override {}

    [[nodiscard]] Oxa::DateTime ReadDateTime() override
    {
        return Oxa::DateTime::FromUnixTimeMicroseconds(1'700'000'000'123'456);
    }
};

struct MemoryAuthorizationService final : System::Um::Services::Internal::IAuthorizationService
{
    [[nodiscard]] bool IsAuthorized(const System::Rsc::RscString<512>& /*objectName*/, uint32 /*permission*/,
                                    uint32 /*tokenValue*/) override
    {
        return true;
    }
};

/// Registers the services of two providers while it lives.
class ProvidedMemoryServices final
{
public:
    [[nodiscard]] static std::shared_ptr<IDeviceStatusService> MakeStatus()
    {
        std::unordered_map<std::string_view, ItemValue> values = {
            {"Status.System.UpTime.Seconds", ItemValue(uint64{86'400})},
            {"Status.Board.Temperature.Centigrade", ItemValue(int8{41})},
            {"Status.Memory.Usage.Percent.Actual", ItemValue(uint8{37})},
            {"Status.UserPartition.Total", ItemValue(uint64{4'000'000'000})},
            {"Status.UserPartition.Usage", ItemValue(uint64{1'000'000'000})},
            {"Status.UserPartition.Usage.Percent", ItemValue(uint8{25})},
            {"Status.Cpu.0.Load.Percent", ItemValue(uint8{10})},
            {"Status.Cpu.1.Load.Percent", ItemValue(uint8{11})},
            {"Status.Cpu.2.Load.Percent", ItemValue(uint8{12})},
            {"Status.Cpu.3.Load.Percent", ItemValue(uint8{13})},
            {"Status.Cpu.4.Load.Percent", ItemValue(uint8{14})},
            {"Status.RunStopSwitch.Supported", ItemValue(true)},
            {"Status.RunStopSwitch.Position", ItemValue("Run")},
        };
        for (const char* const key : ledKeys)
        {
            values.emplace(key, ItemValue(uint32{0x00010001}));
        }
        return std::make_shared<MemoryItemService<IDeviceStatusService>>(std::move(values));
    }

private:
    using Control = Oxa::Device::Interface::Services::DeviceControlServiceProxyFactory;
    using Info = Oxa::Device::Interface::Services::DeviceInfoServiceProxyFactory;
    using Status = Oxa::Device::Interface::Services::DeviceStatusServiceProxyFactory;
    using Rtc = Oxa::Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory;
    using Authorization = System::Um::Services::Internal::AuthorizationServiceProxyFactory;

    static std::shared_ptr<System::Rsc::IRscService> MakeInfo()
    {
        using namespace Oxa::Device::Interface::Services;
        return std::make_shared<MemoryItemService<IDeviceInfoService>>(std::unordered_map<std::string_view, ItemValue>{
            {"General.ArticleName", ItemValue("Controller 4")},
            {"General.ArticleNumber", ItemValue("1051328")},
            {"General.SerialNumber", ItemValue("1357924680")},
            {"General.Firmware.Version", ItemValue("2024.0.5 LTS")},
            {"General.Hardware.Version", ItemValue("03")},
            {"General.Fpga.Version", ItemValue("1.1.42")},
            {"General.SPNS.Firmware.Version", ItemValue("1.2.3")},
            {"General.SPNS.Fpga.Version", ItemValue("4.5.6")},
            {"Cpu.Cores.Count", ItemValue(uint8{4})},
        });
    }

    System::Rsc::RscRegistration device{"boot",
                                        "build",
                                        {{Info::GetInstance(), MakeInfo()},
                                         {Status::GetInstance(), MakeStatus()},
                                         {Control::GetInstance(), std::make_shared<MemoryControlService>()},
                                         {Rtc::GetInstance(), std::make_shared<MemoryRtcService>()}}};
    System::Rsc::RscRegistration users{
        "", "", {{Authorization::GetInstance(), std::make_shared<MemoryAuthorizationService>()}}};
};

} // namespace Oxa::Benchmarks
