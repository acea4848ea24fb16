#include "EndToEnd/HostProcess.hpp"
#include "Oxa/System/Commons/Json/JsonReader.hpp"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;

namespace
{

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
    EXPECT_THAT(Ask("POST", "/api/v1/DeviceInterfaceControlDp/RestartController").body(),
                HasSubstr(R"("result":true)"));
    bool wasAway = false;
    EXPECT_TRUE(Support::Eventually(
        [this, &before, &wasAway]
        {
            const auto answer = Ask("GET", "/api/v1/boot");
            wasAway = wasAway || answer.result_int() == 503U;
            const BasicString after = GetMember(answer.body(), "bootId");
            return !after.empty() && after != before;
        }));
    EXPECT_TRUE(wasAway);
    // 503 until the module has read the device's identity again.
    EXPECT_TRUE(Support::Eventually(
        [this] { return Ask("GET", "/api/v1/DeviceInterfaceDp/GetDataSections?Health").result_int() == 200U; }));
}

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

/// The same with a simulated controller.
class ShippedHostOfAController : public ShippedHost
{
protected:
    void SetUp() override
    {
        Start({"--variable", "DESCRIPTION=" OXA_CONFIGURATION "/descriptions/controller.xml"});
    }

    /// The items of all pages, one after the other.
    [[nodiscard]] BasicString ReadItems() const
    {
        BasicString all;
        BasicString lastKey;
        for (bool isCut = true; isCut;)
        {
            const auto response = Ask("GET", "/api/v1/DeviceItemsDp/GetItems?after=" + lastKey);
            EXPECT_EQ(response.result_int(), 200U) << response.body();
            isCut = response.body().ends_with(R"("isCut":true}})");
            lastKey = FindLast(response.body(), "key");
            all += response.body();
        }
        return all;
    }
};

/// The keys of the items in the shipped description, without those that stand for several.
std::vector<BasicString> ReadDescribedKeys()
{
    std::ifstream file(OXA_CONFIGURATION "/descriptions/controller.xml");
    std::vector<BasicString> keys;
    for (BasicString line; std::getline(file, line);)
    {
        constexpr std::string_view start = "<Item key=\"";
        const std::size_t begin = line.find(start);
        if (begin != BasicString::npos && line.find('{') == BasicString::npos)
        {
            const std::size_t keyBegin = begin + start.size();
            keys.push_back(line.substr(keyBegin, line.find('"', keyBegin) - keyBegin));
        }
    }
    return keys;
}

TEST_F(ShippedHostOfAController, ShowsEveryDescribedItemWithItsOrigin)
{
    const BasicString items = ReadItems();
    const std::vector<BasicString> keys = ReadDescribedKeys();
    EXPECT_GE(keys.size(), 30U);
    for (const BasicString& key : keys)
    {
        EXPECT_THAT(items, HasSubstr(R"({"key":")" + key + '"'));
    }
    const std::pair<BasicString, BasicString> origins[] = {{"General.ArticleName", "fixed"},
                                                           {"Status.Board.Temperature.Centigrade", "simulated"},
                                                           {"Status.System.UpTime.Seconds", "measured"}};
    for (const auto& [key, origin] : origins)
    {
        const BasicString body = Ask("POST", "/api/v1/DeviceItemsDp/GetItems?prefix=" + key).body();
        EXPECT_EQ(FindLast(body, "origin"), origin) << body;
        EXPECT_EQ(FindLast(body, "quality"), "good") << body;
    }
    EXPECT_EQ(Ask("GET", "/api/v1/DeviceItemsDp/GetItems?after=%FF").body(),
              R"({"errorCode":"InvalidRequest","resultKind":4,"payload":{"result":false}})");
    EXPECT_EQ(Support::HttpClient(port).Ask("GET", "/api/v1/DeviceItemsDp/GetItems").result_int(), 401U);
}

TEST_F(ShippedHostOfAController, ShowsTheItemsOfTheNewRunAfterARestart)
{
    constexpr const char* read = "/api/v1/DeviceItemsDp/GetItems?prefix=Status.System.BootId";
    const BasicString before = FindLast(Ask("GET", read).body(), "value");
    EXPECT_EQ(before.size(), 36U);
    EXPECT_EQ(Ask("POST", "/api/v1/DeviceInterfaceControlDp/RestartController").result_int(), 200U);
    EXPECT_TRUE(Support::Eventually(
        [this, &before]
        {
            const auto response = Ask("GET", read);
            return response.result_int() == 200U && FindLast(response.body(), "value") != before;
        }));
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
