#include "Device/Component/LinuxComponent.hpp"

#include "Device/FakeMachine.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceItemServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceItemService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace Oxa::Tests::Device
{

using namespace Oxa::Device::Interface::Services;
using namespace Oxa::Hardware::RealTimeClock::Services::Internal;
using Oxa::Device::Linux::Component::LinuxComponent;
using Oxa::System::Rsc::ServiceManager;

namespace
{

template <class Service, class Factory>
std::unique_ptr<Service> GetService()
{
    auto& factory = Factory::GetInstance();
    return std::unique_ptr<Service>(
        static_cast<Service*>(ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
}

const auto getInfo = &GetService<IDeviceInfoService, DeviceInfoServiceProxyFactory>;
const auto getStatus = &GetService<IDeviceStatusService, DeviceStatusServiceProxyFactory>;
const auto getItems = &GetService<IDeviceItemService, DeviceItemServiceProxyFactory>;
const auto getControl = &GetService<IDeviceControlService, DeviceControlServiceProxyFactory>;
const auto getRtc = &GetService<IRtcService, RtcServiceProxyFactory>;

class RunningComponent : public testing::Test
{
protected:
    void Start(std::chrono::milliseconds outage = std::chrono::hours(1))
    {
        component.emplace(appDomain, Oxa::Device::Linux::Commands::CommandTimes{.outage = outage});
        machine.BecomePc();
        appDomain.SetVariable("OXA_DEVICE_ROOT", machine.GetPath(""));
        component->Setup(Oxa::System::Acf::ComponentInfo("Linux", OXA_DESCRIPTIONS "/pc.xml"));
        EXPECT_EQ(getStatus(), nullptr);
        component->Start();
    }

    BasicString ReadBootId(IDeviceStatusService& status)
    {
        return status.ReadItem(ItemKey("Status.System.BootId")).ToString();
    }

    const Support::LogRecorder log{Oxa::System::Commons::Diagnostics::Logging::LogLevel::Information};
    FakeMachine machine;
    Oxa::System::Commons::AppDomain appDomain{"test"};
    std::optional<LinuxComponent> component{std::in_place, appDomain};
};

} // namespace

TEST_F(RunningComponent, OffersItsServicesUntilItIsStopped)
{
    Start();
    EXPECT_EQ(ToTypedText(getInfo()->ReadItem(ItemKey("General.ArticleName"))), "String Compact PC 7");
    EXPECT_EQ(ToTypedText(getStatus()->ReadItem(ItemKey("Status.Cpu.1.Load.Percent"))), "Uint8 10");
    EXPECT_GT(getRtc()->ReadDateTime().ToUnixTimeMicroseconds(), 0);
    EXPECT_NE(getControl(), nullptr);
    EXPECT_EQ(getItems()->ListItems("General.Firm", "", 1).items.at(0).description, "Version of the firmware");
    EXPECT_EQ(ToTypedText(getItems()->ReadItems("Status.Cpu.1", "", 1).items.at(0).value), "Uint8 10");

    component->Stop();
    EXPECT_EQ(getItems(), nullptr);
    EXPECT_EQ(getInfo(), nullptr);
    EXPECT_EQ(getStatus(), nullptr);
    EXPECT_EQ(getRtc(), nullptr);
    EXPECT_EQ(getControl(), nullptr);
}

TEST_F(RunningComponent, SaysOnceWhatIsDescribedAndWhatIsSimulated)
{
    Start();
    component->Stop();
    const auto entries = log.GetEntries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].message, "device description 'pc', number of files: 1");
    EXPECT_EQ(entries[1].level, Oxa::System::Commons::Diagnostics::Logging::LogLevel::Information);
    EXPECT_NE(entries[1].message.find("Status.Leds.Runtime.Run"), BasicString::npos);
    EXPECT_EQ(entries[1].message.find("Temperature"), BasicString::npos);
}

TEST_F(RunningComponent, SaysWhatIsSimulatedAtTimes)
{
    machine.Write("/d.xml", R"(<DeviceDescriptionDocument>
        <Item key="A"><first><file path="/a"/><first><simulated value="1"/><text value="2"/></first></first></Item>
        <Item key="B"><first><file path="/b"/><text value="2"/></first></Item>
        <Item key="C"><first><simulated value="1"/><simulated value="2"/></first></Item></DeviceDescriptionDocument>)");
    component->Setup(Oxa::System::Acf::ComponentInfo("Linux", machine.GetPath("/d.xml")));
    component->Start();
    BasicString messages;
    for (const auto& entry : log.GetEntries())
    {
        messages += entry.message + "\n";
    }
    EXPECT_NE(messages.find("simulated on this machine: C\nsimulated whenever this machine gives no value: A\n"),
              BasicString::npos)
        << messages;
}

TEST_F(RunningComponent, ComesBackFromARestartWithAnotherBootId)
{
    Start(std::chrono::milliseconds(300));
    const auto status = getStatus();
    const BasicString bootId = ReadBootId(*status);
    EXPECT_EQ(getControl()->Restart(), AccessErrorCode::None);
    EXPECT_TRUE(Support::Eventually([] { return !getControl(); }));
    EXPECT_TRUE(Support::Eventually([] { return getControl() != nullptr; }));
    EXPECT_NE(ReadBootId(*status), bootId);
    EXPECT_EQ(ReadBootId(*status), ReadBootId(*getStatus()));
    component->Stop();
}

TEST_F(RunningComponent, KeepsItsHistoriesOverARestartOfTheServices)
{
    Start(std::chrono::milliseconds(1));
    const auto readLast = [this]
    {
        const int64 now = Oxa::Device::Linux::Items::HistoryClocks::ReadSystemClock();
        const auto service = getItems();
        const auto history = service->ReadHistory("Status.Memory.Usage.Percent.Actual", now - 3'600'000, now, 1);
        return history.points.empty() ? 0 : history.points.back().minimum;
    };
    EXPECT_TRUE(Support::Eventually([&readLast] { return readLast() == 25; }));
    const BasicString bootId = ReadBootId(*getStatus());
    machine.Write("/proc/meminfo", "");
    EXPECT_EQ(getControl()->Restart(), AccessErrorCode::None);
    EXPECT_TRUE(Support::Eventually(
        [this, &bootId]
        {
            const auto status = getStatus();
            return status && ReadBootId(*status) != bootId;
        }));
    EXPECT_EQ(readLast(), 25);
    // What a page takes for the old run's value is gone with it.
    EXPECT_EQ(getItems()->ReadItems("Status.Memory", "", 1).items.at(0).quality, ItemQuality::Missing);
    component->Stop();
}

TEST_F(RunningComponent, OffersNothingDuringAnOutageAndCanBeStoppedThen)
{
    Start();
    const auto status = getStatus();
    EXPECT_EQ(getControl()->FactoryReset(1), AccessErrorCode::None);
    EXPECT_TRUE(Support::Eventually([] { return !getControl(); }));
    EXPECT_THROW(ReadBootId(*status), Oxa::System::Rsc::RscServiceException);
    component->Stop();
    EXPECT_EQ(getControl(), nullptr);
}

TEST_F(RunningComponent, TellsABuildByProgramAndDescription)
{
    machine.Write("/d/1.xml", "<DeviceDescriptionDocument/>");
    const auto readBuildId = [this]
    {
        LinuxComponent other(appDomain);
        other.Setup(Oxa::System::Acf::ComponentInfo("Linux", machine.GetPath("/d")));
        other.Start();
        return getInfo()->ReadItem(ItemKey("Status.System.BuildId")).ToString();
    };
    const BasicString before = readBuildId();
    EXPECT_EQ(before.size(), 32U);
    EXPECT_EQ(readBuildId(), before);
    machine.Write("/d/2.xml", "<DeviceDescriptionDocument name=\"${OXA_TEST_NAME}\"/>");
    setenv("OXA_TEST_NAME", "1", 1);
    const BasicString withVariable = readBuildId();
    EXPECT_NE(withVariable, before);
    setenv("OXA_TEST_NAME", "2", 1);
    EXPECT_NE(readBuildId(), withVariable);
    unsetenv("OXA_TEST_NAME");
}

TEST_F(RunningComponent, NeedsADescription)
{
    EXPECT_THROW(component->Setup(Oxa::System::Acf::ComponentInfo("Linux", "")), Oxa::System::Commons::XmlException);
}

TEST_F(RunningComponent, DoesNotStartOnARootThatIsNoFolder)
{
    appDomain.SetVariable("OXA_DEVICE_ROOT", machine.GetPath("/missing"));
    EXPECT_THROW(component->Setup(Oxa::System::Acf::ComponentInfo("Linux", OXA_DESCRIPTIONS "/pc.xml")),
                 Oxa::System::Commons::ArgumentException);
}

} // namespace Oxa::Tests::Device
