#include "Host/Modules/Dispatcher.hpp"

#include "Host/Modules/ModuleRegistry.hpp"
#include "Oxa/Services/Commons/Wbm/Modules/WbmRequestHandlerBase.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Support/FakeExchange.hpp"

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace Oxa::Host::Modules
{

using Http::Handling;
using Http::HttpMethod;
using Services::Commons::Wbm::WbmRequest;
using Services::Commons::Wbm::WbmResponse;
using System::Rsc::RscFault;
using System::Rsc::RscServiceException;
using System::Um::SecurityToken;
using Tests::Support::FakeExchange;

namespace
{

class FakeHandler final : public Services::Commons::Wbm::Modules::WbmRequestHandlerBase
{
public:
    FakeHandler()
    {
        RegisterHandlerDelegate("Run", HandlerDelegate::Bind(*this, &FakeHandler::Run));
    }

    [[nodiscard]] bool IsAvailable() const override
    {
        return isAvailable;
    }

    [[nodiscard]] bool HasPermissions(const SecurityToken& token) const override
    {
        return token == SecurityToken(1);
    }

    bool isAvailable = true;
    std::function<BasicString(const WbmRequest&)> run = [](const WbmRequest&)
    {
        return "done";
    };

private:
    [[nodiscard]] WbmResponse Run(const WbmRequest& request)
    {
        using namespace Services::Commons::Wbm;
        return {ResponseHeader(ContentType::Text, ContentSubtype::Plain, CharsetType::Utf8), run(request)};
    }
};

/// One module with the safe data provider "Safe" and the provider of commands "Control"; "Lost" is missing.
class Dispatchers : public testing::Test
{
protected:
    Dispatchers()
    {
        notifications.Subscribe(
            [this](const System::Nm::Notification& each)
            {
                BasicString line(System::Nm::GetNotificationKindName(each.kind));
                for (const auto& [name, value] : each.fields)
                {
                    line += name == "outcome" || name == "errorCode" || name == "cause" ? ' ' + value : "";
                }
                published.push_back(line + (each.user == "ann" && each.text == "Run" ? "" : " of another"));
            });
        registry.Expect({{"Fake", "", "", {{"Safe", true}, {"Control"}, {"Lost"}, {"Reset", false, {"Run"}}}}});
        gate->Open({});
        EXPECT_TRUE(registrar.RegisterDataProvider(ModuleRegistry::Registrar::DataProviderInfo("Safe"), handler));
        EXPECT_TRUE(registrar.RegisterDataProvider(ModuleRegistry::Registrar::DataProviderInfo("Control"), handler));
        EXPECT_TRUE(registrar.RegisterDataProvider(ModuleRegistry::Registrar::DataProviderInfo("Reset"), handler));
    }

    FakeExchange& Ask(HttpMethod method, const char* providerName, const char* requestName = "Run", uint32 token = 1)
    {
        exchange = std::make_shared<FakeExchange>();
        exchange->request.method = method;
        EXPECT_EQ(dispatcher.Handle(exchange, {providerName, requestName, SecurityToken(token), "ann",
                                               [this] { return isConfirmed; },
                                               [this]
                                               {
                                                   return std::exchange(isConfirmed, false);
                                               }}),
                  Handling::Completed);
        return *exchange;
    }

    Threads::EventLoop loop;
    ModuleRegistry registry{loop, {}};
    std::shared_ptr<ModuleGate> gate = std::make_shared<ModuleGate>();
    std::shared_ptr<FakeHandler> handler = std::make_shared<FakeHandler>();
    ModuleRegistry::Registrar registrar{registry, "Fake", gate};
    System::Nm::NotificationManager notifications;
    Dispatcher dispatcher{registry,
                          notifications,
                          {[this] { return isAuditWritable; },
                           [this](const BasicString& userName)
                           {
                               return userName == "ann" && admitsFailure;
                           }}};
    bool isConfirmed = false;
    std::shared_ptr<FakeExchange> exchange;
    std::vector<BasicString> published;
    bool isAuditWritable = true;
    bool admitsFailure = true;
};

TEST_F(Dispatchers, CheckInTheGivenOrder)
{
    struct Case
    {
        HttpMethod method;
        const char* providerName;
        const char* requestName;
        uint32 token;
        bool isOpen;
        bool isAvailable;
        unsigned status;
        const char* code;
    };

    const Case cases[] = {{HttpMethod::Get, "None", "None", 2, false, false, 404, "unknown-data-provider"},
                          {HttpMethod::Get, "Lost", "None", 2, false, false, 503, "not-available"},
                          {HttpMethod::Get, "Control", "None", 2, false, false, 405, "method-not-allowed"},
                          {HttpMethod::Head, "Control", "None", 2, false, false, 405, "method-not-allowed"},
                          {HttpMethod::Delete, "Safe", "None", 2, false, false, 405, "method-not-allowed"},
                          {HttpMethod::Other, "Safe", "None", 2, false, false, 405, "method-not-allowed"},
                          {HttpMethod::Get, "Safe", "None", 2, false, false, 503, "service-not-available"},
                          {HttpMethod::Post, "Control", "None", 2, false, true, 503, "service-not-available"},
                          {HttpMethod::Get, "Safe", "None", 2, true, false, 503, "not-available"},
                          {HttpMethod::Get, "Safe", "None", 2, true, true, 403, "no-permission"},
                          {HttpMethod::Get, "Safe", "None", 1, true, true, 404, "unknown-request"},
                          {HttpMethod::Post, "Control", "run", 1, true, true, 404, "unknown-request"},
                          {HttpMethod::Head, "Safe", "Run", 1, true, true, 200, "done"},
                          {HttpMethod::Post, "Safe", "Run", 1, true, true, 200, "done"},
                          {HttpMethod::Post, "Control", "Run", 1, true, true, 200, "done"}};
    for (const Case& each : cases)
    {
        handler->isAvailable = each.isAvailable;
        EXPECT_TRUE(gate->TryClose());
        if (each.isOpen)
        {
            gate->Open({});
        }
        const FakeExchange& response = Ask(each.method, each.providerName, each.requestName, each.token);
        EXPECT_EQ(response.status, each.status) << each.code;
        EXPECT_THAT(response.body, testing::HasSubstr(each.code));
        EXPECT_EQ(response.fields, each.status == 503                         ? "Retry-After: 1\r\n"
                                   : each.status != 405                       ? ""
                                   : BasicString(each.providerName) == "Safe" ? "Allow: GET, HEAD, POST\r\n"
                                                                              : "Allow: POST\r\n");
    }
}

TEST_F(Dispatchers, MapFaultsOfServicesAndPublishTheOutcomeOfCommandsOnly)
{
    using Run = std::function<BasicString(const WbmRequest&)>;
    const auto fail = [](RscFault fault) -> Run
    {
        return [fault](const WbmRequest&) -> BasicString
        {
            throw RscServiceException::Create(fault, "no service");
        };
    };
    const auto reply = [](const char* body) -> Run
    {
        return [body](const WbmRequest&)
        {
            return body;
        };
    };
    const std::tuple<Run, unsigned, const char*, const char*> cases[] = {
        {reply("done"), 200, "done", "CommandExecuted success "},
        {reply(R"({"payload":{"errorCode":"x"},"errorCode":""})"), 200, "payload", "CommandExecuted success "},
        {reply(R"({"errorCode":"busy"})"), 200, "busy", "CommandFailed failure busy"},
        {reply(R"({"errorCode":"timed out"})"), 200, "timed out", "CommandFailed unknown timed out"},
        {fail(RscFault::NotAvailable), 503, "\"service-not-available\"", "CommandFailed failure no-service"},
        {fail(RscFault::TimedOut), 504, "\"service-timeout\"", "CommandFailed unknown no-service"},
        {fail(RscFault::ConnectionLost), 503, "\"service-lost\"", "CommandFailed unknown no-service"},
        {fail(RscFault::InvalidResponse), 502, "\"bad-service-answer\"", "CommandFailed unknown no-service"},
        {fail(RscFault::Refused), 503, "\"service-refused\"", "CommandFailed failure no-service"},
        {[](const WbmRequest&) -> BasicString { throw std::runtime_error("secret"); }, 500, "\"internal-error\"",
         "CommandFailed failure exception"},
        {[](const WbmRequest&) -> BasicString { throw 1; }, 500, "\"internal-error\"",
         "CommandFailed failure exception"}};
    for (const auto& [run, status, text, outcome] : cases)
    {
        handler->run = run;
        for (const char* providerName : {"Safe", "Control"})
        {
            published.clear();
            const FakeExchange& response = Ask(HttpMethod::Post, providerName);
            EXPECT_EQ(response.status, status) << text;
            EXPECT_THAT(response.body, testing::HasSubstr(text));
        }
        EXPECT_THAT(published, testing::ElementsAre("CommandRequested", outcome));
    }
    published.clear();
    Ask(HttpMethod::Post, "Safe", "Run", 2);
    EXPECT_THAT(published, testing::IsEmpty());
    Ask(HttpMethod::Post, "Control", "Run", 2);
    EXPECT_THAT(published, testing::ElementsAre("CommandRefused no-permission"));
}

TEST_F(Dispatchers, CarryOutNoCommandThatLeavesNoTrace)
{
    bool isRun = false;
    handler->run = [&isRun](const WbmRequest&)
    {
        isRun = true;
        return "done";
    };
    isAuditWritable = false;
    EXPECT_EQ(Ask(HttpMethod::Get, "Safe").status, 200U);
    isRun = false;
    EXPECT_EQ(Ask(HttpMethod::Post, "Control").status, 503U);
    EXPECT_THAT(exchange->body, testing::HasSubstr("\"audit-not-writable\""));
    EXPECT_THAT(published, testing::ElementsAre("CommandRefused audit-not-writable"));
    isAuditWritable = true;
    notifications.Subscribe([this](const System::Nm::Notification&) { isAuditWritable = false; });
    EXPECT_EQ(Ask(HttpMethod::Post, "Control").status, 503U) << "the disk became full by this command's own row";
    EXPECT_FALSE(isRun);
}

TEST_F(Dispatchers, RefuseCommandsWhoseFailureCouldNotBeRecorded)
{
    bool isRun = false;
    handler->run = [&isRun](const WbmRequest&)
    {
        isRun = true;
        return "done";
    };
    admitsFailure = false;
    EXPECT_EQ(Ask(HttpMethod::Post, "Control").status, 429U);
    EXPECT_THAT(exchange->body, testing::HasSubstr("\"too-many-failed-commands\""));
    EXPECT_EQ(exchange->fields, "Retry-After: 60\r\n");
    EXPECT_THAT(published, testing::ElementsAre("CommandRefused too-many-failed-commands"));
    EXPECT_FALSE(isRun);
    EXPECT_EQ(Ask(HttpMethod::Post, "Safe").status, 200U);
}

TEST_F(Dispatchers, TakeAConfirmationForEachCommandThatNeedsOneAndForNothingElse)
{
    Ask(HttpMethod::Post, "Reset");
    EXPECT_EQ(exchange->status, 403U);
    EXPECT_THAT(exchange->body, testing::HasSubstr("\"confirmation-needed\""));
    EXPECT_THAT(published, testing::ElementsAre("CommandRefused confirmation-needed"));

    isConfirmed = true;
    EXPECT_EQ(Ask(HttpMethod::Post, "Reset", "Run", 2).status, 403U) << "no permission";
    EXPECT_EQ(Ask(HttpMethod::Post, "Reset", "None").status, 404U);
    EXPECT_EQ(Ask(HttpMethod::Post, "Control").status, 200U);
    EXPECT_TRUE(isConfirmed);
    isAuditWritable = false;
    EXPECT_EQ(Ask(HttpMethod::Post, "Reset").status, 503U);
    EXPECT_TRUE(isConfirmed) << "nothing was carried out";
    isAuditWritable = true;
    admitsFailure = false;
    EXPECT_EQ(Ask(HttpMethod::Post, "Reset").status, 429U);
    EXPECT_TRUE(isConfirmed);
    admitsFailure = true;
    EXPECT_EQ(Ask(HttpMethod::Post, "Reset").status, 200U);
    EXPECT_FALSE(isConfirmed);
    EXPECT_EQ(Ask(HttpMethod::Post, "Reset").status, 403U);
}

TEST_F(Dispatchers, DropTheResponseToAReadWhenTheModuleClosesMeanwhileButNotThatToACommand)
{
    handler->run = [this](const WbmRequest&)
    {
        // As when a service is lost: the visit in progress keeps the gate from closing otherwise.
        gate->Open({{"NoSuchProvider", 1}});
        return "old";
    };
    EXPECT_EQ(Ask(HttpMethod::Get, "Safe").status, 503U);
    gate->Open({});
    EXPECT_EQ(Ask(HttpMethod::Post, "Control").body, "old");
}

} // namespace

} // namespace Oxa::Host::Modules
