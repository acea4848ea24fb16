#include "Device/Component/LinuxComponent.hpp"

#include "Device/FakeMachine.hpp"
#include "Device/FakeTime.hpp"
#include "Device/ItemValueText.hpp"
#include "Oxa/Device/Interface/Services/DeviceControlServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceInfoServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/DeviceStatusServiceProxyFactory.hpp"
#include "Oxa/Device/Interface/Services/IDeviceControlService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceInfoService.hpp"
#include "Oxa/Device/Interface/Services/IDeviceStatusService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/IRtcService.hpp"
#include "Oxa/Hardware/RealTimeClock/Services/Internal/RtcServiceProxyFactory.hpp"
#include "Oxa/System/Acf/IComponent.hpp"
#include "Oxa/System/Commons/AppDomain.hpp"
#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Support/LogRecorder.hpp"

#include <gtest/gtest.h>

#include <thread>

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
const auto getControl = &GetService<IDeviceControlService, DeviceControlServiceProxyFactory>;
const auto getRtc = &GetService<IRtcService, RtcServiceProxyFactory>;

class RunningComponent : public testing::Test
{
protected:
    void Start()
    {
        machine.BecomePc();
        appDomain.SetVariable("OXA_DEVICE_ROOT", machine.GetPath(""));
        component.Setup(Oxa::System::Acf::ComponentInfo("Linux", OXA_DESCRIPTIONS "/pc.xml"));
        EXPECT_EQ(getStatus(), nullptr);
        component.Start();
    }

    BasicString ReadBootId(IDeviceStatusService& status)
    {
        return status.ReadItem(ItemKey("Status.System.BootId")).ToString();
    }

    const Support::LogRecorder log{Oxa::System::Commons::Diagnostics::Logging::LogLevel::Information};
    FakeMachine machine;
    Oxa::System::Commons::AppDomain appDomain{"test"};
    FakeTime outageTime;
    LinuxComponent component{appDomain, outageTime.MakeWaiter()};
};

} // namespace

TEST_F(RunningComponent, OffersFourServicesUntilItIsStopped)
{
    Start();
    EXPECT_EQ(ToTypedText(getInfo()->ReadItem(ItemKey("General.ArticleName"))), "String Compact PC 7");
    EXPECT_EQ(ToTypedText(getStatus()->ReadItem(ItemKey("Status.Cpu.1.Load.Percent"))), "Uint8 10");
    EXPECT_GT(getRtc()->ReadDateTime().ToUnixTimeMicroseconds(), 0);
    EXPECT_NE(getControl(), nullptr);

    component.Stop();
    EXPECT_EQ(getInfo(), nullptr);
    EXPECT_EQ(getStatus(), nullptr);
    EXPECT_EQ(getRtc(), nullptr);
    EXPECT_EQ(getControl(), nullptr);
}

TEST_F(RunningComponent, SaysOnceWhatIsDescribedAndWhatIsSimulated)
{
    Start();
    component.Stop();
    const auto entries = log.GetEntries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].message, "Device description 'pc', number of files: 1");
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
    component.Setup(Oxa::System::Acf::ComponentInfo("Linux", machine.GetPath("/d.xml")));
    component.Start();
    BasicString messages;
    for (const auto& entry : log.GetEntries())
    {
        messages += entry.message + "\n";
    }
    EXPECT_NE(messages.find("Simulated on this machine: C\nSimulated whenever this machine gives no value: A\n"),
              BasicString::npos)
        << messages;
}

TEST_F(RunningComponent, ComesBackFromARestartWithAnotherBootId)
{
    Start();
    const auto status = getStatus();
    const BasicString bootId = ReadBootId(*status);
    EXPECT_EQ(getControl()->Restart(), AccessErrorCode::None);
    outageTime.AwaitWait(1);
    EXPECT_EQ(getControl(), nullptr);
    EXPECT_THROW(ReadBootId(*status), Oxa::System::Rsc::RscServiceException);

    outageTime.Elapse();
    while (!getControl())
    {
        std::this_thread::yield();
    }
    EXPECT_NE(ReadBootId(*status), bootId);
    EXPECT_EQ(ReadBootId(*status), ReadBootId(*getStatus()));
    component.Stop();
}

TEST_F(RunningComponent, CanBeStoppedDuringAnOutage)
{
    Start();
    EXPECT_EQ(getControl()->FactoryReset(1), AccessErrorCode::None);
    outageTime.AwaitWait(1);
    component.Stop();
    EXPECT_EQ(getControl(), nullptr);
}

TEST_F(RunningComponent, TellsABuildByProgramAndDescription)
{
    machine.Write("/d/1.xml", "<DeviceDescriptionDocument/>");
    const auto readBuildId = [this]
    {
        LinuxComponent other(appDomain, outageTime.MakeWaiter());
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
    EXPECT_THROW(component.Setup(Oxa::System::Acf::ComponentInfo("Linux", "")), Oxa::System::Commons::XmlException);
}

TEST_F(RunningComponent, DoesNotStartOnARootThatIsNoFolder)
{
    appDomain.SetVariable("OXA_DEVICE_ROOT", machine.GetPath("/missing"));
    EXPECT_THROW(component.Setup(Oxa::System::Acf::ComponentInfo("Linux", OXA_DESCRIPTIONS "/pc.xml")),
                 Oxa::System::Commons::ArgumentException);
}

} // namespace Oxa::Tests::Device
