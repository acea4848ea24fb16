#include "EndToEnd/HostProcess.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"

#include <gmock/gmock.h>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;

namespace
{

/// The text of the last member of that name, at any depth.
BasicString FindLast(std::string_view json, std::string_view name)
{
    using namespace System::Commons::Json;
    JsonReader reader(json, {.maximumBytes = std::size_t{1024} * 1024});
    BasicString text;
    for (auto token = reader.Read(); token != JsonTokenType::End; token = reader.Read())
    {
        if (token == JsonTokenType::PropertyName && reader.GetText() == name)
        {
            reader.Read();
            text = reader.GetText();
        }
    }
    return text;
}

/// The program as it is shipped, with the shipped configuration.
class ShippedHost : public testing::Test
{
protected:
    void SetUp() override
    {
        Start({"--examples"});
    }

    void Start(const std::vector<BasicString>& options)
    {
        std::vector<BasicString> arguments = {
            OXA_WBM, "--config", OXA_CONFIGURATION "/oxa-wbm.xml", "--state", folder.GetPath("state"), "--port", "0"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        process = std::make_unique<Support::ChildProcess>(arguments);
        port = static_cast<uint16>(std::stoi(process->WaitForLine("listening on http://127.0.0.1:")));
        BasicString password = folder.Read("state/initial-password");
        password.pop_back();
        Support::HttpClient client(port);
        admin = LogInFirst(client, password);
    }

    [[nodiscard]] Support::HttpClient::Answer Ask(std::string_view method, std::string_view target) const
    {
        return Support::HttpClient(port).Ask(method, target, admin);
    }

    Support::TemporaryFolder folder;
    std::unique_ptr<Support::ChildProcess> process;
    uint16 port = 0;
    BasicString admin;
};

TEST_F(ShippedHost, ComesBackWithANewBootIdAfterARestart)
{
    const BasicString before = GetMember(Ask("GET", "/api/v1/boot").body(), "bootId");
    EXPECT_EQ(before.size(), 36U);
    constexpr const char* readBootId = "/api/v1/DeviceItemsDp/GetItems?prefix=Status.System.BootId";
    EXPECT_EQ(FindLast(Ask("GET", readBootId).body(), "value"), before);
    EXPECT_THAT(Ask("POST", "/api/v1/DeviceInterfaceControlDp/RestartController").body(),
                HasSubstr(R"("result":true)"));
    bool wasAway = false;
    BasicString after;
    EXPECT_TRUE(Support::Eventually(
        [this, &before, &after, &wasAway]
        {
            const auto answer = Ask("GET", "/api/v1/boot");
            wasAway = wasAway || answer.result_int() == 503U;
            after = GetMember(answer.body(), "bootId");
            return !after.empty() && after != before;
        }));
    EXPECT_TRUE(wasAway);
    // 503 until the modules have been set up again.
    EXPECT_TRUE(Support::Eventually(
        [this] { return Ask("GET", "/api/v1/DeviceInterfaceDp/GetDataSections?Health").result_int() == 200U; }));
    EXPECT_TRUE(
        Support::Eventually([this, &after] { return FindLast(Ask("GET", readBootId).body(), "value") == after; }));
}

/// The same with a simulated controller.
class ShippedHostOfAController : public ShippedHost
{
protected:
    void SetUp() override
    {
        Start({"--variable", "DESCRIPTION=" OXA_CONFIGURATION "/descriptions/controller.xml"});
    }
};

TEST_F(ShippedHostOfAController, ShowsWhereTheValuesOfItemsComeFrom)
{
    const std::pair<BasicString, BasicString> origins[] = {{"General.ArticleName", "fixed"},
                                                           {"Status.Board.Temperature.Centigrade", "simulated"},
                                                           {"Status.System.UpTime.Seconds", "measured"}};
    for (const auto& [key, origin] : origins)
    {
        const BasicString body = Ask("POST", "/api/v1/DeviceItemsDp/GetItems?prefix=" + key).body();
        EXPECT_EQ(FindLast(body, "origin"), origin) << body;
        EXPECT_EQ(FindLast(body, "quality"), "good") << body;
    }
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
