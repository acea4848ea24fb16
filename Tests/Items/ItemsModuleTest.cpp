#include "Items/LoadedModule.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <gmock/gmock.h>

#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::Tests::Items;
using Oxa::System::Commons::InvalidOperationException;
using Oxa::System::Rsc::RscServiceException;

class SettingUpTheItemsModule : public LoadedModule
{
};

using Calls = std::vector<BasicString>;

TEST_F(SettingUpTheItemsModule, RegistersProviderAndPageAndUnregistersTheSame)
{
    EXPECT_EQ(&library.GetLibrary(), &library.GetLibrary());
    module->ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), Calls());
    Offer();
    SetUpModule();
    EXPECT_EQ(host.TakeCalls(), (Calls{"+provider DeviceItemsDp", "+page DeviceItems/items/"}));
    EXPECT_TRUE(host.handlers.at(0)->HandlesRequest("GetItems") && host.handlers.at(0)->HandlesRequest("GetHistory"));

    module->ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), (Calls{"-provider DeviceItemsDp", "-page items"}));
    module->ResetModule(host);
    EXPECT_EQ(host.TakeCalls(), Calls());
}

TEST_F(SettingUpTheItemsModule, UnregistersWhatTheHostAcceptedOnly)
{
    Offer();
    const std::pair<BasicString, Calls> cases[] = {{"DeviceItemsDp", {}}, {"items", {"-provider DeviceItemsDp"}}};
    for (const auto& [refusedName, unregistered] : cases)
    {
        host.refusedName = refusedName;
        EXPECT_THROW(SetUpModule(), InvalidOperationException) << refusedName;
        host.TakeCalls();
        module->ResetModule(host);
        EXPECT_EQ(host.TakeCalls(), unregistered) << refusedName;
    }
}

TEST_F(SettingUpTheItemsModule, LeavesProviderAndPageUnavailableWithoutTheService)
{
    SetUpModule();
    EXPECT_FALSE(host.handlers.back()->IsAvailable() || host.pageHandler->IsAvailable());
    module->ResetModule(host);

    Offer();
    SetUpModule();
    EXPECT_TRUE(host.handlers.back()->IsAvailable() && host.pageHandler->IsAvailable());
    module->ResetModule(host);
    EXPECT_FALSE(host.handlers.back()->IsAvailable());
}

TEST_F(SettingUpTheItemsModule, LetsEveryUserWhoIsLoggedInRead)
{
    SetUpModule();
    for (const uint32 token : {0U, 1U, 2U})
    {
        const System::Um::SecurityToken caller(token);
        EXPECT_EQ(host.handlers.back()->HasPermissions(caller), token != 0) << token;
        EXPECT_EQ(host.pageHandler->HasPermissions(caller), token != 0) << token;
    }
}

TEST_F(SettingUpTheItemsModule, ReadsTheListWithTheFirstRequestOfEachSetUp)
{
    Offer();
    service->Add("A", ItemValue(uint8{1}), "V");
    SetUpModule();
    EXPECT_EQ(service->listCount, 0U);
    EXPECT_THAT(Send("GetItems"), testing::HasSubstr(R"("unit":"V")"));
    service->items.at("A").description.unit = "A";
    EXPECT_THAT(Send("GetItems"), testing::HasSubstr(R"("unit":"V")"));
    EXPECT_EQ(service->listCount, 1U);

    module->ResetModule(host);
    SetUpModule();
    EXPECT_THAT(Send("GetItems"), testing::HasSubstr(R"("unit":"A")"));
}

TEST_F(SettingUpTheItemsModule, PassesOnThatTheServiceIsAwayAndResumes)
{
    Offer();
    service->Add("A", ItemValue(uint8{1})).description.hasHistory = true;
    SetUpModule();
    for (const char* const request : {"GetItems", "GetHistory"})
    {
        registration.reset();
        EXPECT_THROW(Send(request, "key=A"), RscServiceException) << request;
        Offer();
        EXPECT_THAT(Send(request, "key=A"), testing::HasSubstr(R"("resultKind":1)")) << request;
    }
}

} // namespace
