#include "Host/Modules/ModuleRegistrations.hpp"

#include "Host/Modules/ModuleGate.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>

namespace Oxa::Host::Modules
{

namespace
{

class EmptyHandler final : public Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
};

TEST(ModulesRegistrations, CannotTakeBackWhatAnotherModuleRegistered)
{
    Threads::EventLoop loop;
    ModuleRegistry registry(loop, {});
    const auto handler = std::make_shared<EmptyHandler>();
    const ModuleRegistrations::DataProviderInfo info("Dp");
    const auto gate = std::make_shared<ModuleGate>();
    gate->Open({});
    ModuleRegistrations first(registry, "First", gate);
    ASSERT_TRUE(first.RegisterDataProvider(info, handler));
    {
        ModuleRegistrations second(registry, "Second", std::make_shared<ModuleGate>());
        EXPECT_FALSE(second.RegisterDataProvider(info, handler));
        second.UnregisterDataProvider("Dp");
    }
    EXPECT_NE(registry.FindDataProvider("Dp"), nullptr);
    first.UnregisterDataProvider("Dp");
    EXPECT_EQ(registry.FindDataProvider("Dp"), nullptr);
}

TEST(ModulesRegistrations, GiveANameToTheModuleThatTheConfigurationGivesItToAndTellDifferencesOnce)
{
    const Tests::Support::LogRecorder log(System::Commons::Diagnostics::Logging::LogLevel::Warning);
    Threads::EventLoop loop;
    Configuration::HostConfiguration configuration;
    configuration.modules = {{"Owner", "", "", {{"OwnDp", true}, {"MissingDp"}}}, {"Thief", "", "", {}}};
    ModuleRegistry registry(loop, configuration);
    const auto handler = std::make_shared<EmptyHandler>();
    ModuleRegistrations thief(registry, "Thief", std::make_shared<ModuleGate>());
    ModuleRegistrations owner(registry, "Owner", std::make_shared<ModuleGate>());
    EXPECT_FALSE(thief.RegisterDataProvider(ModuleRegistrations::DataProviderInfo("OwnDp"), handler));
    EXPECT_TRUE(owner.RegisterDataProvider(ModuleRegistrations::DataProviderInfo("OwnDp"), handler));
    EXPECT_TRUE(owner.RegisterDataProvider(ModuleRegistrations::DataProviderInfo("MisingDp"), handler));
    for (int setup = 0; setup < 2; ++setup)
    {
        owner.ReportDifferences();
        thief.ReportDifferences();
    }
    std::vector<BasicString> messages;
    for (const auto& entry : log.GetEntries())
    {
        messages.push_back(entry.message);
    }
    EXPECT_THAT(messages, testing::ElementsAre(
                              "the data provider 'OwnDp' of the module 'Thief' is refused: the configuration gives "
                              "the name to the module 'Owner'",
                              "the module 'Owner' registers data providers that the configuration does not name: "
                              "'MisingDp', and does not register those that the configuration names: 'MissingDp'"));
}

} // namespace

} // namespace Oxa::Host::Modules
