#include "Di/DiWbmModule.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Support/FakeDevice.hpp"
#include "Support/FakeModuleHost.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Support;
using Oxa::Services::Commons::Wbm::Modules::ModuleInfo;
using Oxa::Services::Modules::Wbm::Di::DiWbmModule;
using Oxa::System::Commons::InvalidOperationException;

class SettingUpTheModule : public testing::Test
{
protected:
    SettingUpTheModule()
    {
        WriteSettings("<DiWbmModuleSettings supportedLanguages='en,de' splcSupported='true'/>");
    }

    void WriteSettings(const BasicString& content) const
    {
        folder.Write("Di.xml", "<DiWbmModuleSettingsDocument>" + content + "</DiWbmModuleSettingsDocument>");
    }

    /// The message of the exception, or empty.
    BasicString TrySetUp()
    {
        try
        {
            module.SetupModule(ModuleInfo("Di", settingsPath), host);
        }
        catch (const InvalidOperationException& exception)
        {
            return exception.what();
        }
        return {};
    }

    const TemporaryFolder folder;
    const BasicString settingsPath = folder.GetPath("Di.xml");
    FakeDevice device;
    FakeModuleHost host;
    DiWbmModule module;
};

using Calls = std::vector<BasicString>;

TEST_F(SettingUpTheModule, RegistersInOrderAndUnregistersTheSame)
{
    module.ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), Calls());

    EXPECT_EQ(TrySetUp(), "");
    EXPECT_EQ(host.TakeCalls(), (Calls{"+provider DeviceInterfaceDp", "+provider DeviceInterfaceControlDp",
                                       "+page GeneralData/overview/", "+language en", "+language de"}));
    ASSERT_EQ(host.handlers.size(), 2U);
    EXPECT_TRUE(host.handlers[0]->HandlesRequest("GetDataSections"));
    EXPECT_TRUE(host.handlers[1]->HandlesRequest("RestartController"));
    EXPECT_TRUE(host.handlers[0]->IsAvailable() && host.handlers[1]->IsAvailable() && host.pageHandler->IsAvailable());

    module.ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), (Calls{"-provider DeviceInterfaceDp", "-provider DeviceInterfaceControlDp",
                                       "-page overview", "-language en", "-language de"}));
    module.ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), (Calls{"-language en", "-language de"}));
}

TEST_F(SettingUpTheModule, UnregistersWhatTheHostAcceptedOnly)
{
    const Calls all = {"-provider DeviceInterfaceDp", "-provider DeviceInterfaceControlDp", "-page overview",
                       "-language en", "-language de"};
    const std::pair<BasicString, BasicString> cases[] = {
        {"DeviceInterfaceDp", "data provider: DeviceInterfaceDp"},
        {"DeviceInterfaceControlDp", "data provider: DeviceInterfaceControlDp"},
        {"overview", "page: overview"}};
    for (std::size_t refused = 0; refused < std::size(cases); ++refused)
    {
        const auto expectRefusal = [&refusal = cases[refused], this]
        {
            host.refusedName = refusal.first;
            EXPECT_EQ(TrySetUp(), "Failed to register " + refusal.second);
            host.refusedName.clear();
            host.TakeCalls();
            module.ResetModule(host);
        };
        expectRefusal();
        Calls accepted(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(refused));
        accepted.insert(accepted.end(), all.begin() + 3, all.end());
        EXPECT_EQ(host.TakeCalls(), accepted);

        // The last result counts: a host that refuses a name has given it to another module.
        EXPECT_EQ(TrySetUp(), "");
        expectRefusal();
        Calls others = all;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(refused));
        EXPECT_EQ(host.TakeCalls(), others);
    }
}

TEST_F(SettingUpTheModule, ReadsSettingsAnewAfterAReset)
{
    EXPECT_EQ(TrySetUp(), "");
    module.ResetModule(host);
    WriteSettings("<DiWbmModuleSettings supportedLanguages='fr' splcSupported='false'/>");
    host.TakeCalls();
    EXPECT_EQ(TrySetUp(), "");
    EXPECT_EQ(host.TakeCalls().back(), "+language fr");
}

TEST_F(SettingUpTheModule, RegistersNothingWithoutSettings)
{
    WriteSettings("<DiWbmModuleSettings supportedLanguages='en'/>");
    EXPECT_THROW(module.SetupModule(ModuleInfo("Di", settingsPath), host), System::Commons::XmlException);
    EXPECT_THROW(module.SetupModule(ModuleInfo("Di", settingsPath + ".missing"), host), System::Commons::XmlException);
    EXPECT_EQ(host.TakeCalls(), Calls());
}

TEST_F(SettingUpTheModule, StaysRegisteredButUnavailableUntilASetUpFindsAllServices)
{
    for (auto* const factory : FakeDevice::GetFactories())
    {
        DiWbmModule fresh;
        const auto areAvailable = [&fresh, this]
        {
            host.handlers.clear();
            fresh.SetupModule(ModuleInfo("Di", settingsPath), host);
            EXPECT_EQ(host.handlers[0]->IsAvailable(), host.handlers[1]->IsAvailable());
            return host.handlers[0]->IsAvailable();
        };
        device.Provide(factory);
        EXPECT_FALSE(areAvailable()) << factory->GetServiceInterfaceName();
        fresh.ResetModule(host);
        device.Provide();
        EXPECT_TRUE(areAvailable()) << factory->GetServiceInterfaceName();
    }
}

TEST_F(SettingUpTheModule, ReadsSettingsThenSubscribesAndSetsUpTheSectionsThenSubscribesForTheControlRequests)
{
    // Each set-up stops one step later. What came in front of the fault has its services already, and keeps them when
    // the clock is gone.
    auto& clockFactory = *FakeDevice::GetFactories().back();
    const auto setUpWithoutClock = [&clockFactory, this]
    {
        device.Provide(&clockFactory);
        host.handlers.clear();
        EXPECT_EQ(TrySetUp(), "");
        module.ResetModule(host);
        device.Provide();
        return std::pair(host.handlers[0]->IsAvailable(), host.handlers[1]->IsAvailable());
    };
    EXPECT_THROW(module.SetupModule(ModuleInfo("Di", settingsPath + ".missing"), host), System::Commons::XmlException);
    EXPECT_EQ(setUpWithoutClock(), std::pair(false, false));
    device.info.isBroken = true;
    host.TakeCalls();
    EXPECT_THROW(module.SetupModule(ModuleInfo("Di", settingsPath), host), std::runtime_error);
    EXPECT_EQ(host.TakeCalls(), Calls());
    device.info.isBroken = false;
    EXPECT_EQ(setUpWithoutClock(), std::pair(true, false));
}

} // namespace
