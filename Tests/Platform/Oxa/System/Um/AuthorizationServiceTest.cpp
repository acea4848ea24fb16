#include "Oxa/System/Um/Services/Internal/AuthorizationService.hpp"

#include "Oxa/System/Rsc/RscRegistration.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Oxa/System/Um/Services/Internal/AuthorizationServiceProxyFactory.hpp"
#include "Support/LogRecorder.hpp"
#include "UserDatabaseTest.hpp"

#include <gmock/gmock.h>

#include <memory>

namespace Oxa::System::Um::Services::Internal
{
namespace
{

using System::Rsc::ServiceManager;
using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;

class AskingTheAuthorizationService : public UserManagerTest
{
protected:
    AskingTheAuthorizationService()
    {
        users.AddUser("anna", "some secret words", "Engineer");
        token = users.LogIn("anna", "some secret words").value();
        proxy.reset(dynamic_cast<IAuthorizationService*>(
            ServiceManager::GetService(factory.GetServiceProviderName(), factory)));
    }

    [[nodiscard]] bool MayExecute(uint32 tokenValue)
    {
        const System::Rsc::RscString<512> objectName("oxa.services.wbm/modules/Di");
        return proxy->IsAuthorized(objectName, executePermission, tokenValue);
    }

    AuthorizationServiceProxyFactory& factory = AuthorizationServiceProxyFactory::GetInstance();
    System::Rsc::RscRegistration registration{"", "", {{factory, std::make_shared<AuthorizationService>(users)}}};
    SecurityToken token;
    std::unique_ptr<IAuthorizationService> proxy;
};

TEST_F(AskingTheAuthorizationService, ChecksTheTokensUser)
{
    EXPECT_TRUE(MayExecute(token.GetValue()));
    EXPECT_FALSE(MayExecute(token.GetValue() + 1));
    EXPECT_FALSE(MayExecute(0));
}

TEST_F(AskingTheAuthorizationService, RefusesAndLogsWhenTheDatabaseCannotBeUsed)
{
    Tests::Support::LogRecorder log;
    ExecuteSql("DROP TABLE users");
    EXPECT_FALSE(MayExecute(token.GetValue()));
    EXPECT_THAT(log.GetEntries(), Contains(Field(&Tests::Support::LogRecorder::Entry::message,
                                                 AllOf(HasSubstr("oxa.services.wbm/modules/Di"), HasSubstr(path)))));
}

} // namespace
} // namespace Oxa::System::Um::Services::Internal
