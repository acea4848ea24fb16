#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string_view>

namespace Oxa::Tests::EndToEnd
{

namespace
{

/// How often the text occurs in the memory that the process can write.
std::size_t CountInMemory(pid_t process, std::string_view text)
{
    const BasicString folder = "/proc/" + std::to_string(process);
    std::ifstream maps(folder + "/maps");
    std::ifstream memory(folder + "/mem", std::ios::binary);
    EXPECT_TRUE(memory.is_open());
    std::size_t count = 0;
    for (BasicString line; std::getline(maps, line);)
    {
        std::istringstream fields(line);
        uint64 begin = 0;
        uint64 end = 0;
        char dash = 0;
        BasicString permissions;
        fields >> std::hex >> begin >> dash >> end >> permissions;
        if (!permissions.starts_with("rw"))
        {
            continue;
        }
        BasicString bytes(end - begin, '\0');
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        for (std::size_t found = bytes.find(text); found != BasicString::npos; found = bytes.find(text, found + 1))
        {
            ++count;
        }
    }
    return count;
}

TEST(Secrets, LeaveNoCopyInMemoryThatIsFreeAgain)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString password = "another long passphrase of the test";
    const BasicString wrong = "a wrong long passphrase of the test";
    ASSERT_EQ(host.RunUserCommand({"set-password", "admin"}, password + '\n'), 0);
    const BasicString field = host.LogIn("admin", password);
    const BasicString token = field.substr(field.find(' ', field.find(' ') + 1) + 1, 43);
    {
        auto client = host.Connect();
        EXPECT_EQ(client.Ask("GET", "/api/v1/pages", field).result_int(), 200U);
        EXPECT_EQ(client.Ask("POST", "/api/v1/FakeDp/Echo", field, token + BasicString(20000, 'x')).result_int(), 200U);
        EXPECT_EQ(client.Ask("GET", "/api/v1/FakeDp/Echo?" + token, field).result_int(), 200U);
        EXPECT_EQ(client.Ask("GET", "/api/v1/pages", "Cookie: oxa-session=" + token + "\r\n").result_int(), 200U);
        EXPECT_EQ(host.Ask("POST", "/api/v1/session", "Content-Type: application/json\r\n",
                           R"({"user":"admin","password":")" + wrong + "\"}")
                      .result_int(),
                  401U);
        // A request that never ends.
        auto half = host.Connect();
        half.Write("POST /api/v1/session HTTP/1.1\r\nHost: test\r\nContent-Length: 4000\r\nContent-Type: "
                   "application/json\r\n\r\n{\"user\":\"admin\",\"password\":\"" +
                   password);
        EXPECT_EQ(client.Ask("GET", "/healthz").result_int(), 200U);
        // It shows as well that the search finds what is there.
        EXPECT_TRUE(Support::Eventually([&] { return CountInMemory(host.GetProcess().GetNumber(), password) > 0; }));
    }
    for (const BasicString& secret : {password, wrong, token})
    {
        EXPECT_TRUE(Support::Eventually([&] { return CountInMemory(host.GetProcess().GetNumber(), secret) == 0; },
                                        std::chrono::seconds(5)))
            << secret << " occurs " << CountInMemory(host.GetProcess().GetNumber(), secret) << " times";
    }
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
