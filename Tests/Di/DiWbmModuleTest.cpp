#include "Di/DiWbmModule.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/IWbmModuleHandler.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/XmlException.hpp"
#include "Support/FakeDevice.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace
{

using namespace Oxa;
using namespace Oxa::Services::Commons::Wbm::Modules;
using Oxa::Services::Modules::Wbm::Di::DiWbmModule;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::Tests::Support::FakeDevice;

/// A host that writes down what it is told, and refuses one name.
class FakeHost final : public IWbmModuleHandler
{
public:
    bool RegisterPage(const Registration::PageInfo& pageInfo, std::shared_ptr<WbmPageHandlerBase> handler) override
    {
        pageHandler = std::move(handler);
        return Record("+page " + pageInfo.GetDataName() + "/" + pageInfo.GetPageName(), pageInfo.GetPageName());
    }

    void UnregisterPage(const BasicString& pageName) override
    {
        Record("-page " + pageName, "");
    }

    bool RegisterDataProvider(const Registration::DataProviderInfo& dataProviderInfo,
                              std::shared_ptr<WbmRequestHandlerBase> handler) override
    {
        handlers.push_back(std::move(handler));
        return Record("+provider " + dataProviderInfo.GetDataProviderName(), dataProviderInfo.GetDataProviderName());
    }

    void UnregisterDataProvider(const BasicString& dataProviderName) override
    {
        Record("-provider " + dataProviderName, "");
    }

    void RegisterSupportedLanguage(const BasicString& language) override
    {
        Record("+language " + language, "");
    }

    void UnregisterSupportedLanguage(const BasicString& language) override
    {
        Record("-language " + language, "");
    }

    std::vector<BasicString> TakeCalls()
    {
        return std::exchange(calls, {});
    }

    BasicString refusedName = "nothing";
    std::shared_ptr<WbmPageHandlerBase> pageHandler;
    std::vector<std::shared_ptr<WbmRequestHandlerBase>> handlers;

private:
    bool Record(BasicString call, const BasicString& name)
    {
        calls.push_back(std::move(call));
        return name != refusedName;
    }

    std::vector<BasicString> calls;
};

class SettingUpTheModule : public testing::Test
{
protected:
    SettingUpTheModule()
    {
        WriteSettings("<DiWbmModuleSettings supportedLanguages='en,de' splcSupported='true'/>");
    }

    ~SettingUpTheModule() override
    {
        std::filesystem::remove(settingsPath);
    }

    void WriteSettings(const BasicString& content) const
    {
        std::ofstream(settingsPath) << "<DiWbmModuleSettingsDocument>" << content << "</DiWbmModuleSettingsDocument>";
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


    const BasicString settingsPath =
        std::filesystem::temp_directory_path() / ("DiWbmModuleTest." + std::to_string(::getpid()) + ".xml");
    FakeDevice device;
    FakeHost host;
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

TEST_F(SettingUpTheModule, StaysRegisteredButUnavailableWithoutServices)
{
    System::Rsc::ServiceManager::UnregisterService(*FakeDevice::GetFactories()[0]);
    EXPECT_EQ(TrySetUp(), "");
    ASSERT_EQ(host.handlers.size(), 2U);
    EXPECT_FALSE(host.handlers[0]->IsAvailable() || host.handlers[1]->IsAvailable());
}

} // namespace
