#pragma once

#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Support/FakeDeviceServices.hpp"

#include <fmt/format.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace Oxa::Tests::Support
{

/// A whole device in memory, a healthy controller with four cores, whose services this process can find as long as it
/// lives.
class FakeDevice final
{
public:
    static constexpr uint8 coresCount = 4;

    FakeDevice()
    {
        FillInfo();
        FillStatus();
        rtcService->now = Oxa::DateTime::FromUnixTimeMicroseconds(1'700'000'000'123'456);
        Provide();
    }

    FakeDevice(const FakeDevice&) = delete;
    FakeDevice& operator=(const FakeDevice&) = delete;
    ~FakeDevice() = default;

    /// In the order in which handlers subscribe them.
    [[nodiscard]] static std::vector<System::Rsc::IRscServiceProxyFactory*> GetFactories()
    {
        using namespace Oxa::Device::Interface::Services;
        return {&DeviceInfoServiceProxyFactory::GetInstance(), &DeviceStatusServiceProxyFactory::GetInstance(),
                &DeviceControlServiceProxyFactory::GetInstance(),
                &System::Um::Services::Internal::AuthorizationServiceProxyFactory::GetInstance(),
                &Oxa::Hardware::RealTimeClock::Services::Internal::RtcServiceProxyFactory::GetInstance()};
    }

    /// Provides all services but one.
    void Provide(const System::Rsc::IRscServiceProxyFactory* absent = nullptr)
    {
        using System::Rsc::RscRegistration;
        const auto factories = GetFactories();
        const std::shared_ptr<System::Rsc::IRscService> implementations[] = {infoService, statusService, controlService,
                                                                             authorizationService, rtcService};
        std::map<BasicString, std::vector<RscRegistration::Service>> providers;
        for (std::size_t index = 0; index < factories.size(); ++index)
        {
            if (factories[index] != absent)
            {
                providers[factories[index]->GetServiceProviderName()].push_back(
                    {*factories[index], implementations[index]});
            }
        }
        registrations.clear();
        for (const auto& [name, services] : providers)
        {
            registrations.push_back(std::make_unique<RscRegistration>("boot", "build", services));
        }
    }

    template <class T>
    void SetInfo(const char* key, const T& value)
    {
        info.values.insert_or_assign(key, ItemValue(value));
    }

    template <class T>
    void SetStatus(const BasicString& key, const T& value)
    {
        status.values.insert_or_assign(key, ItemValue(value));
    }

    FakeItems info;
    FakeItems status;
    std::shared_ptr<FakeDeviceInfoService> infoService = std::make_shared<FakeDeviceInfoService>(info);
    std::shared_ptr<FakeDeviceStatusService> statusService = std::make_shared<FakeDeviceStatusService>(status);
    std::shared_ptr<FakeDeviceControlService> controlService = std::make_shared<FakeDeviceControlService>();
    std::shared_ptr<FakeAuthorizationService> authorizationService = std::make_shared<FakeAuthorizationService>();
    std::shared_ptr<FakeRtcService> rtcService = std::make_shared<FakeRtcService>();

private:
    std::vector<std::unique_ptr<System::Rsc::RscRegistration>> registrations;

    void FillInfo()
    {
        SetInfo("General.ArticleName", std::string_view("Controller 4"));
        SetInfo("General.ArticleNumber", std::string_view("1051328"));
        SetInfo("General.SerialNumber", std::string_view("1357924680"));
        SetInfo("General.Firmware.Version", std::string_view("2024.0.5 LTS"));
        SetInfo("General.Hardware.Version", std::string_view("03"));
        SetInfo("General.Fpga.Version", std::string_view("1.1.42"));
        SetInfo("General.SPNS.Firmware.Version", std::string_view("1.2.3"));
        SetInfo("General.SPNS.Fpga.Version", uint16{7});
        SetInfo("Cpu.Cores.Count", coresCount);
    }

    void FillStatus()
    {
        SetStatus("Status.System.UpTime.Seconds", uint64{86'400});
        SetStatus("Status.Board.Temperature.Centigrade", int8{41});
        SetStatus("Status.Memory.Usage.Percent.Actual", uint8{37});
        SetStatus("Status.UserPartition.Total", uint64{4'000'000'000});
        SetStatus("Status.UserPartition.Usage", uint64{1'000'000'000});
        SetStatus("Status.UserPartition.Usage.Percent", uint8{25});
        for (unsigned core = 0; core <= coresCount; ++core)
        {
            SetStatus(fmt::format("Status.Cpu.{}.Load.Percent", core), static_cast<uint8>(10 + core));
        }
        for (const char* const led : {"Pnio.Bf_C", "Runtime.Run", "Pnio.Bf_D", "Runtime.Fail", "Pnio.Sf",
                                      "Runtime.Debug", "Zelo.D", "Zelo.E", "Runtime.Ext", "Safety.Run", "Safety.Fs"})
        {
            SetStatus(fmt::format("Status.Leds.{}", led), uint32{0x00010001});
        }
        SetStatus("Status.RunStopSwitch.Supported", true);
        SetStatus("Status.RunStopSwitch.Position", std::string_view("Run"));
    }
};

} // namespace Oxa::Tests::Support
