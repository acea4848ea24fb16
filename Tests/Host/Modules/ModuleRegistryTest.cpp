#include "Host/Modules/ModuleRegistry.hpp"

#include "Oxa/Services/Commons/Wbm/Modules/WbmPageHandlerBase.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Support/LogRecorder.hpp"

#include <gmock/gmock.h>

namespace Oxa::Host::Modules
{

using Registrar = ModuleRegistry::Registrar;

namespace
{

class EmptyHandler final : public Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
};

TEST(ModuleRegistries, LetAModuleUnregisterOnlyWhatItHasRegistered)
{
    Threads::EventLoop loop;
    ModuleRegistry registry(loop, {});
    const auto handler = std::make_shared<EmptyHandler>();
    const Registrar::DataProviderInfo info("Dp");
    const auto gate = std::make_shared<ModuleGate>();
    gate->Open({});
    Registrar first(registry, "First", gate);
    ASSERT_TRUE(first.RegisterDataProvider(info, handler));
    {
        Registrar second(registry, "Second", std::make_shared<ModuleGate>());
        EXPECT_FALSE(second.RegisterDataProvider(info, handler));
        second.UnregisterDataProvider("Dp");
    }
    EXPECT_NE(registry.FindDataProvider("Dp"), nullptr);
    first.UnregisterDataProvider("Dp");
    EXPECT_EQ(registry.FindDataProvider("Dp"), nullptr);
}

class EmptyPage final : public Services::Commons::Wbm::Modules::WbmPageHandlerBase
{
};

TEST(ModuleRegistries, ListPagesInTheOrderOfTheModulesNames)
{
    Threads::EventLoop loop;
    ModuleRegistry registry(loop, {});
    const auto handler = std::make_shared<EmptyPage>();
    Registrar later(registry, "B", std::make_shared<ModuleGate>());
    Registrar earlier(registry, "A", std::make_shared<ModuleGate>());
    for (auto& [registrar, name] : {std::pair<Registrar&, const char*>(later, "z"), {earlier, "y"}, {later, "x"}})
    {
        ASSERT_TRUE(registrar.RegisterPage(Page::Info("data", name, ""), handler));
    }
    BasicString names;
    for (const auto& page : registry.GetPages())
    {
        names += page->name;
    }
    EXPECT_EQ(names, "yzx");
}

TEST(ModuleRegistries, GiveANameToTheModuleWhoseManifestHasItAndReportDifferencesOnce)
{
    const Tests::Support::LogRecorder log(System::Commons::Diagnostics::Logging::LogLevel::Warning);
    Threads::EventLoop loop;
    ModuleRegistry registry(loop, {});
    registry.Expect({{"Owner", "", "", {{"OwnDp", true}, {"MissingDp"}}}, {"Thief", "", "", {}}});
    const auto handler = std::make_shared<EmptyHandler>();
    Registrar thief(registry, "Thief", std::make_shared<ModuleGate>());
    Registrar owner(registry, "Owner", std::make_shared<ModuleGate>());
    EXPECT_FALSE(thief.RegisterDataProvider(Registrar::DataProviderInfo("OwnDp"), handler));
    EXPECT_TRUE(owner.RegisterDataProvider(Registrar::DataProviderInfo("OwnDp"), handler));
    EXPECT_TRUE(owner.RegisterDataProvider(Registrar::DataProviderInfo("MisingDp"), handler));
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
    EXPECT_THAT(messages,
                testing::ElementsAre("the data provider 'OwnDp' of the module 'Thief' is refused: the name belongs "
                                     "to the module 'Owner'",
                                     "the module 'Owner' registers data providers that its manifest does not name: "
                                     "'MisingDp', and does not register those that its manifest names: 'MissingDp'"));
}

} // namespace

} // namespace Oxa::Host::Modules
