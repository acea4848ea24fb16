#include "EndToEnd/HostProcess.hpp"

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
        process = std::make_unique<Support::ChildProcess>(
            std::vector<BasicString>{OXA_WBM, "--config", BasicString(OXA_CONFIGURATION) + "/oxa-wbm.xml", "--state",
                                     folder.GetPath("state"), "--port", "0", "--examples"});
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

} // namespace

} // namespace Oxa::Tests::EndToEnd
