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

TEST_F(SettingUpTheModule, RegistersInOrderAndTakesBackWhatItRegistered)
{
    module.ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), Calls());

    EXPECT_EQ(TrySetUp(), "");
    EXPECT_EQ(host.TakeCalls(), (Calls{"+provider DeviceInterfaceDp", "+provider DeviceInterfaceControlDp",
                                       "+page GeneralData/overview", "+language en", "+language de"}));
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

TEST_F(SettingUpTheModule, KeepsWhatItRegisteredBeforeARefusalUntilTheReset)
{
    host.refusedName = "DeviceInterfaceControlDp";
    EXPECT_EQ(TrySetUp(), "Failed to register data provider: DeviceInterfaceControlDp");
    host.TakeCalls();
    module.ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), (Calls{"-provider DeviceInterfaceDp", "-language en", "-language de"}));

    host.refusedName = "overview";
    EXPECT_EQ(TrySetUp(), "Failed to register page: overview");
    host.refusedName = "DeviceInterfaceDp";
    EXPECT_EQ(TrySetUp(), "Failed to register data provider: DeviceInterfaceDp");
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

TEST_F(SettingUpTheModule, RegistersNoLanguageWhenTheDocumentIsEmpty)
{
    folder.Write("Di.xml", "<DiWbmModuleSettingsDocument/>");
    EXPECT_EQ(TrySetUp(), "");
    EXPECT_EQ(host.TakeCalls(), (Calls{"+provider DeviceInterfaceDp", "+provider DeviceInterfaceControlDp",
                                       "+page GeneralData/overview"}));
}

TEST_F(SettingUpTheModule, RegistersNothingWhenASectionCannotBeSetUp)
{
    device.info.isBroken = true;
    EXPECT_THROW(module.SetupModule(ModuleInfo("Di", settingsPath), host), std::runtime_error);
    EXPECT_EQ(host.TakeCalls(), Calls());
    module.ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), (Calls{"-language en", "-language de"}));
}

TEST_F(SettingUpTheModule, StaysRegisteredButUnavailableWithoutServices)
{
    System::Rsc::ServiceManager::UnregisterService(*FakeDevice::GetFactories()[0]);
    EXPECT_EQ(TrySetUp(), "");
    ASSERT_EQ(host.handlers.size(), 2U);
    EXPECT_FALSE(host.handlers[0]->IsAvailable() || host.handlers[1]->IsAvailable());
}

} // namespace
