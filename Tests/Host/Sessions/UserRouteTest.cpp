#include "Host/Sessions/UserRoute.hpp"

#include "Host/Sessions/AccountFixture.hpp"

#include <functional>
#include <future>

namespace Oxa::Host::Sessions
{

using Http::HttpMethod;
using testing::AllOf;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::Le;

namespace
{

class UserRoutes : public AccountFixture
{
protected:
    /// What a request to add the user "eve" gets when `meanwhile` happens while it waits.
    std::shared_ptr<Tests::Support::FakeExchange> AddUserAfterWaiting(const BasicString& key,
                                                                      const std::function<void()>& meanwhile)
    {
        std::promise<void> begun;
        std::promise<void> end;
        const auto before = std::make_shared<Tests::Support::FakeExchange>();
        EXPECT_EQ(worker.Post(before, 0,
                              [&begun, end = end.get_future().share()](Http::IHttpExchange&)
                              {
                                  begun.set_value();
                                  end.wait();
                              }),
                  Http::Handling::Deferred);
        begun.get_future().wait();
        const BasicString authorization = "Bearer " + key;
        const auto exchange = std::make_shared<Tests::Support::FakeExchange>();
        exchange->request = request;
        exchange->request.method = HttpMethod::Post;
        exchange->request.path = "/api/v1/users";
        exchange->request.authorization = authorization;
        exchange->request.body = R"({"user":"eve","password":"what eve knows","role":"Admin"})";
        EXPECT_EQ(router.Handle(exchange), Http::Handling::Deferred);
        meanwhile();
        end.set_value();
        loop.GetContext().run_one();
        loop.GetContext().run_one();
        EXPECT_TRUE(exchange->isResumed);
        return exchange;
    }

    const BasicString boss = LogIn("boss", bossPassword);
};

/// What a request with a body gets.
struct BodyCase
{
    HttpMethod method;
    const char* path;
    const char* body;
    unsigned status;
    /// In the response.
    const char* text;
};

TEST_F(UserRoutes, ListAddChangeAndRemoveUsers)
{
    const BodyCase steps[] = {
        {HttpMethod::Get, "/api/v1/users", "", 200, R"([{"user":"ann","role":"Viewer","disabled":false,"mustChange)"},
        {HttpMethod::Post, "/api/v1/users", R"({"user":"eve","password":"what eve knows","role":"Engineer"})", 201,
         R"({"user":"eve","role":"Engineer","disabled":false,"mustChangePassword":false})"},
        {HttpMethod::Patch, "/api/v1/users/EVE", R"({"role":"Viewer","disabled":true})", 200,
         R"({"user":"eve","role":"Viewer","disabled":true,)"},
        {HttpMethod::Patch, "/api/v1/users/eve", R"({"disabled":false,"password":"what else eve knows"})", 200,
         R"("disabled":false)"},
        {HttpMethod::Delete, "/api/v1/users/eve", "", 204, ""},
        {HttpMethod::Delete, "/api/v1/users/eve", "", 404, "unknown-user"}};
    (void)TakePublished();
    for (const auto& [method, resource, body, status, text] : steps)
    {
        const auto exchange = Ask(method, resource, boss, body);
        EXPECT_EQ(exchange->status, status) << resource << ' ' << body << ' ' << exchange->body;
        EXPECT_THAT(exchange->body, HasSubstr(text));
    }
    EXPECT_THAT(TakePublished(), ElementsAre("UserAdded boss eve", "UserChanged boss eve", "UserDisabled boss eve",
                                             "UserChanged boss eve", "UserEnabled boss eve", "UserRemoved boss eve"));
}

TEST_F(UserRoutes, RefuseWhatIsNotAllowed)
{
    const BodyCase cases[] = {
        {HttpMethod::Post, "/api/v1/users", R"({"user":"Ann","password":"what eve knows","role":"Viewer"})", 409,
         "user-exists"},
        {HttpMethod::Post, "/api/v1/users", R"({"user":" eve","password":"what eve knows","role":"Viewer"})", 400,
         "invalid-name"},
        {HttpMethod::Post, "/api/v1/users", R"({"user":"eve","password":"short","role":"Viewer"})", 400,
         "password-refused"},
        {HttpMethod::Post, "/api/v1/users", R"({"user":"eve","password":"what eve knows","role":"admin"})", 400,
         "must be Admin, Engineer or Viewer"},
        {HttpMethod::Post, "/api/v1/users", R"({"user":"eve","role":"Viewer"})", 400, "'password' is missing"},
        {HttpMethod::Post, "/api/v1/users", "x", 400, "invalid-body"},
        {HttpMethod::Patch, "/api/v1/users/ann", "{}", 400, "names no change"},
        {HttpMethod::Patch, "/api/v1/users/ann", R"({"disabled":"true"})", 400, "must be true or false"},
        {HttpMethod::Patch, "/api/v1/users/ann", R"({"user":"eve"})", 400, "'user' is unknown"},
        {HttpMethod::Patch, "/api/v1/users/ann", R"({"role":"Owner"})", 400, "invalid-body"},
        {HttpMethod::Patch, "/api/v1/users/ann", R"({"role":"Admin","password":"short"})", 400, "password-refused"},
        {HttpMethod::Patch, "/api/v1/users/nobody", R"({"role":"Admin"})", 404, "unknown-user"},
        {HttpMethod::Patch, "/api/v1/users/boss", R"({"password":"what boss knows"})", 403, "own-password"},
        {HttpMethod::Patch, "/api/v1/users/boss", R"({"role":"Viewer"})", 409, "last-admin"},
        {HttpMethod::Patch, "/api/v1/users/boss", R"({"disabled":true})", 409, "last-admin"},
        {HttpMethod::Delete, "/api/v1/users/boss", "", 409, "last-admin"}};
    (void)TakePublished();
    for (const auto& [method, resource, body, status, text] : cases)
    {
        const auto exchange = Ask(method, resource, boss, body);
        EXPECT_EQ(exchange->status, status) << resource << ' ' << body;
        EXPECT_THAT(exchange->body, HasSubstr(text)) << resource << ' ' << body;
    }
    EXPECT_THAT(TakePublished(), ElementsAre());
    EXPECT_EQ(users.FindUser("ann")->roleName, "Viewer");
    EXPECT_EQ(users.GetUsers().size(), 2U);
}

TEST_F(UserRoutes, CarryOutNothingThatWaitedBeyondTheEndOfItsSendersRights)
{
    const char* const password = "words of the chief";
    users.AddUser("chief", password, "Admin");
    const BasicString token = users.AddApiToken("tool", "Admin", std::nullopt, "boss");

    const struct
    {
        const char* name;
        BasicString key;
        std::function<void()> meanwhile;
        const char* code;
    } cases[] = {{"another role", LogIn("chief", password),
                  [this] { users.ChangeUser("chief", {.roleName = "Viewer"}); }, "\"no-permission\""},
                 {"disabled", LogIn("chief", password), [this] { users.ChangeUser("chief", {.isDisabled = true}); },
                  "\"no-session\""},
                 {"removed token", token, [this] { users.RemoveApiToken("tool"); }, "\"no-session\""},
                 {"full disk", boss, [this] { isAuditWritable = false; }, "\"audit-not-writable\""},
                 {"nothing", boss, [] {}, R"("user":"eve")"}};

    for (const auto& [name, key, meanwhile, code] : cases)
    {
        users.ChangeUser("chief", {.roleName = "Admin"});
        isAuditWritable = true;
        EXPECT_FALSE(users.FindUser("eve")) << "before " << name;
        EXPECT_THAT(AddUserAfterWaiting(key, meanwhile)->body, HasSubstr(code)) << name;
    }
    EXPECT_TRUE(users.FindUser("eve"));
}

TEST_F(UserRoutes, EndTheSessionsOfUsersWhoseLoginsEnd)
{
    const std::pair<const char*, unsigned> changes[] = {
        {R"({"role":"Engineer"})", 200}, {R"({"disabled":true})", 401}, {R"({"password":"another secret word"})", 401}};
    for (const auto& [body, status] : changes)
    {
        const BasicString ann = LogIn();
        EXPECT_EQ(Ask(HttpMethod::Patch, "/api/v1/users/ann", boss, body)->status, 200U);
        EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", ann)->status, status) << body;
        users.ChangeUser("ann", {.isDisabled = false, .password = annsPassword});
    }
    const BasicString ann = LogIn();
    (void)TakePublished();
    EXPECT_EQ(Ask(HttpMethod::Delete, "/api/v1/users/ann", boss)->status, 204U);
    EXPECT_THAT(TakePublished(), ElementsAre("UserRemoved boss ann", "SessionEndedByOther boss ann"));
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", ann)->status, 401U);
}

TEST_F(UserRoutes, AddListAndRemoveApiTokens)
{
    (void)TakePublished();
    const auto added = Ask(HttpMethod::Post, "/api/v1/tokens", boss, R"({"name":"monitor","role":"Viewer","days":30})");
    EXPECT_EQ(added->status, 201U) << added->body;
    const BasicString token = GetMember(added->body, "token");
    EXPECT_THAT(token, testing::StartsWith("oxa_"));
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", token)->status, 200U);
    const auto list = Ask(HttpMethod::Get, "/api/v1/tokens", boss);
    EXPECT_THAT(list->body, HasSubstr(R"({"name":"monitor","role":"Viewer","createdBy":"boss","created":")"));
    EXPECT_THAT(list->body, HasSubstr(R"("expires":")"));
    constexpr int days30 = 30 * 24 * 60 * 60;
    EXPECT_THAT(GetNumber(list->body, "expiresInSeconds"), AllOf(Gt(days30 - 60), Le(days30)));
    EXPECT_THAT(list->body, testing::Not(HasSubstr("oxa_")));
    const BodyCase cases[] = {
        {HttpMethod::Post, "/api/v1/tokens", R"({"name":"Monitor","role":"Viewer"})", 409, "token-exists"},
        {HttpMethod::Post, "/api/v1/tokens", R"({"name":"","role":"Viewer"})", 400, "invalid-name"},
        {HttpMethod::Post, "/api/v1/tokens", R"({"name":"a","role":"viewer"})", 400, "invalid-body"},
        {HttpMethod::Post, "/api/v1/tokens", R"({"name":"a","role":"Viewer","days":0})", 400, "from 1 to 36500"},
        {HttpMethod::Post, "/api/v1/tokens", R"({"name":"a","role":"Viewer","days":36501})", 400, "from 1 to 36500"},
        {HttpMethod::Post, "/api/v1/tokens", R"({"name":"a","role":"Viewer","days":1.5})", 400, "from 1 to 36500"},
        {HttpMethod::Delete, "/api/v1/tokens/nothing", "", 404, "unknown-token"},
        {HttpMethod::Delete, "/api/v1/tokens/monitor", "", 204, ""}};
    for (const auto& [method, resource, body, status, text] : cases)
    {
        const auto exchange = Ask(method, resource, boss, body);
        EXPECT_EQ(exchange->status, status) << resource << ' ' << body;
        EXPECT_THAT(exchange->body, HasSubstr(text)) << resource << ' ' << body;
    }
    EXPECT_EQ(Ask(HttpMethod::Get, "/api/v1/session", token)->status, 401U);
    EXPECT_THAT(TakePublished(), ElementsAre("TokenAdded boss monitor", "TokenRemoved boss monitor"));
}

} // namespace

} // namespace Oxa::Host::Sessions
