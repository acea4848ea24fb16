#include "Host/Modules/ModuleRegistrations.hpp"

#include "Host/Modules/ModuleGate.hpp"
#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"

#include <gtest/gtest.h>

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
    ModuleRegistrations first(registry, gate);
    ASSERT_TRUE(first.RegisterDataProvider(info, handler));
    {
        ModuleRegistrations second(registry, std::make_shared<ModuleGate>());
        EXPECT_FALSE(second.RegisterDataProvider(info, handler));
        second.UnregisterDataProvider("Dp");
    }
    EXPECT_NE(registry.FindDataProvider("Dp"), nullptr);
    first.UnregisterDataProvider("Dp");
    EXPECT_EQ(registry.FindDataProvider("Dp"), nullptr);
}

} // namespace

} // namespace Oxa::Host::Modules
