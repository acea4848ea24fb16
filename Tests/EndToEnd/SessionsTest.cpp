#include "EndToEnd/HostProcess.hpp"

#include <gmock/gmock.h>
#include <pty.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <tuple>

namespace Oxa::Tests::EndToEnd
{

using testing::HasSubstr;
using testing::Not;

namespace
{

TEST(Sessions, AreNotUsedByOtherSitesAndForgeNoLineOfTheLog)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString bearer = host.LogIn();
    const BasicString cookie = "Cookie: oxa-session=" + bearer.substr(BasicString("Authorization: Bearer ").size());
    const BasicString evil = "Origin: http://evil\r\n";
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeDp/Echo", cookie + evil).result_int(), 403U);
    EXPECT_EQ(host.Ask("POST", "/api/v1/FakeDp/Echo", bearer + evil).result_int(), 200U);
    for (const auto& [origin, status] : {std::pair("http://localhost", 403U), std::pair("http://h", 200U)})
    {
        const auto answer = host.Ask("POST", "http://h/api/v1/FakeDp/Echo", cookie + "Origin: " + origin + "\r\n");
        EXPECT_EQ(answer.result_int(), status) << "the address of the target counts, not the header field Host";
    }
    const auto refused = host.Ask("POST", "/api/v1/session", "Content-Type: application/json\r\n",
                                  R"({"user":"x' text='forged","password":"wrong"})");
    EXPECT_EQ(refused["WWW-Authenticate"], "Bearer");
    host.Stop();
    const BasicString& errors = host.GetProcess().GetErrors();
    EXPECT_THAT(errors, HasSubstr("CrossOriginRefused source='Host.Sessions' user='admin' text='/api/v1/FakeDp/Echo' "
                                  "address='127.0.0.1' origin='http://evil' fetchSite=''"));
    EXPECT_THAT(errors, HasSubstr(R"(LogInFailed source='Host.Sessions' user='x\' text=\'forged' text='user name or)"));
}

TEST(Readiness, TellsThatTheUsersCannotBeRead)
{
    HostProcess host;
    host.WaitUntilReady();
    const BasicString path = host.GetFolder().GetPath("state/users.sqlite");
    for (const auto& [sql, isReadable] : {std::pair("SELECT 1", true), std::pair("DROP TABLE users", false)})
    {
        sqlite3* connection = nullptr;
        ASSERT_EQ(sqlite3_open(path.c_str(), &connection), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(connection);
        const BasicString body = host.Ask("GET", "/readyz").body();
        EXPECT_EQ(body.find("the users cannot be read") == BasicString::npos, isReadable) << body;
    }
    host.Stop();
    EXPECT_THAT(host.GetProcess().GetErrors(), HasSubstr("cannot use the user database '" + path + "': no such table"));
}

TEST(UserCommands, SayWhatTheyDidAndTellTheAuditTrail)
{
    const Support::TemporaryFolder logFolder;
    HostProcess host({.log = R"(level="information" target="file" file=")" + logFolder.GetPath("log") + '"'});
    host.WaitUntilReady();
    EXPECT_EQ(host.RunUserCommand({"add", "eve", "--role", "viewer"}, "looks only here\n"), 0);
    EXPECT_EQ(host.GetCommandOutput(), "added the user 'eve' with the role Viewer\n");
    EXPECT_EQ(host.RunUserCommand({"set-password", "ADMIN"}, "some new words\n"), 0);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("set the password of the user 'admin'"));
    EXPECT_EQ(host.GetFolder().Read("state/initial-password"), "") << "the file's password is not valid any more";
    EXPECT_THAT(host.LogIn("Admin", "some new words"), HasSubstr("Bearer"));
    EXPECT_EQ(host.RunUserCommand({"add", "mallory", "--role", "Nonsense"}, "x\n"), 64);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("{Admin,Engineer,Viewer}"));
    EXPECT_EQ(host.RunUserCommand({"add", "Eve", "--role", "Admin"}, "x\n"), 1);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("There is a user 'eve'"));
    EXPECT_EQ(host.RunUserCommand({"list"}), 0);
    EXPECT_EQ(host.GetCommandOutput(), "admin\tAdmin\tactive\neve\tViewer\tactive\n");
    EXPECT_EQ(host.RunUserCommand({"role", "Eve", "engineer"}), 0);
    EXPECT_EQ(host.RunUserCommand({"disable", "eve"}), 0);
    EXPECT_EQ(host.RunUserCommand({"list"}), 0);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("eve\tEngineer\tdisabled\n"));
    EXPECT_EQ(host.RunUserCommand({"enable", "eve"}), 0);
    EXPECT_EQ(host.RunUserCommand({"disable", "admin"}), 1);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("the user 'admin' is the last active one with the role Admin"));
    EXPECT_EQ(host.RunUserCommand({"remove", "eve"}), 0);
    host.Stop();
    const BasicString log = logFolder.Read("log");
    EXPECT_THAT(log, testing::ContainsRegex("UserAdded source='Host.UserCommands' user='.+' text='eve' role='Viewer'"));
    EXPECT_THAT(log, HasSubstr("text='admin' role='Admin' changed='password'"));
    EXPECT_THAT(log, HasSubstr("LoggedIn source='Host.Sessions' user='admin' text='logged in' address='127.0.0.1'"));
    EXPECT_THAT(log, HasSubstr("text='eve' role='Engineer' changed='role' before='Viewer'"));
    EXPECT_THAT(log, testing::ContainsRegex("UserDisabled source='Host.UserCommands' user='.+' text='eve'"));
    EXPECT_THAT(log, testing::ContainsRegex("UserEnabled source='Host.UserCommands' user='.+' text='eve'"));
    EXPECT_THAT(log, testing::ContainsRegex("UserRemoved source='Host.UserCommands' user='.+' text='eve'"));
    EXPECT_THAT(log, testing::ContainsRegex("CommandFailed .* text='admin' command='user disable'"));
    EXPECT_THAT(log, Not(testing::AnyOf(HasSubstr("mallory"), HasSubstr("some new words"))));
}

TEST(UserCommands, PrintTheSecretOfAnApiTokenOnce)
{
    const Support::TemporaryFolder logFolder;
    HostProcess host({.log = R"(level="information" target="file" file=")" + logFolder.GetPath("log") + '"'});
    host.WaitUntilReady();
    Support::ChildProcess add(host.MakeCommand({"token", "add", "monitoring", "--role", "viewer", "--days", "30"}));
    EXPECT_EQ(add.Wait(), 0);
    EXPECT_THAT(add.GetOutput(), testing::MatchesRegex("oxa_[A-Za-z0-9_-]{43}\n")) << "nothing but the secret";
    EXPECT_THAT(add.GetErrors(), HasSubstr("added the API token 'monitoring' with the role Viewer, valid for 30 days"));
    const BasicString secret = add.GetOutput().substr(4, 43);
    EXPECT_EQ(host.RunCommand({"token", "list"}), 0);
    EXPECT_THAT(host.GetCommandOutput(),
                testing::MatchesRegex("monitoring\tViewer\t[0-9T:.-]+Z\t[0-9T:.-]+Z\tnever\t.+\n"));
    EXPECT_EQ(host.GetCommandOutput().find(secret), BasicString::npos);
    EXPECT_EQ(host.RunCommand({"token", "add", "more", "--role", "Viewer", "--days", "0"}), 64);
    EXPECT_EQ(host.RunCommand({"token", "remove", "Monitoring"}), 0);
    EXPECT_EQ(host.RunCommand({"token", "remove", "monitoring"}), 1);
    EXPECT_EQ(host.GetCommandOutput(), "oxa-wbm: there is no API token 'monitoring'\n");
    const BasicString log = logFolder.Read("log");
    EXPECT_THAT(log, testing::ContainsRegex("TokenAdded source='Host.UserCommands' user='.+' text='monitoring' "
                                            "role='Viewer' days='30'"));
    EXPECT_THAT(log, testing::ContainsRegex("TokenRemoved source='Host.UserCommands' user='.+' text='monitoring'"));
    EXPECT_EQ(log.find(secret), BasicString::npos);
}

TEST(UserCommands, AskTwiceOnATerminal)
{
    HostProcess host;
    host.WaitUntilReady();
    const std::tuple<const char*, const char*, int> cases[] = {{"some secret words\n", "some Secret words\n", 1},
                                                               {"some secret words\n", "some secret words\n", 0}};
    for (const auto& [first, second, status] : cases)
    {
        int terminal = -1;
        const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
        ASSERT_GE(child, 0);
        if (child == 0)
        {
            std::vector<BasicString> arguments = host.MakeCommand({"user", "set-password", "admin"});
            std::vector<char*> pointers;
            std::ranges::transform(arguments, std::back_inserter(pointers),
                                   [](BasicString& each) { return each.data(); });
            pointers.push_back(nullptr);
            execv(pointers[0], pointers.data());
            _exit(127);
        }
        const auto readUntil = [terminal](const char* end)
        {
            BasicString output;
            char character = 0;
            while (!output.ends_with(end) && read(terminal, &character, 1) == 1)
            {
                output += character;
            }
            return output;
        };
        EXPECT_EQ(readUntil("': "), "password for 'admin': ");
        EXPECT_GT(write(terminal, first, strlen(first)), 0);
        EXPECT_THAT(readUntil("more: "), Not(HasSubstr("secret")));
        EXPECT_GT(write(terminal, second, strlen(second)), 0);
        EXPECT_THAT(readUntil("nothing else comes"), Not(HasSubstr("secret")));
        int ended = 0;
        waitpid(child, &ended, 0);
        close(terminal);
        EXPECT_EQ(WEXITSTATUS(ended), status);
    }
    EXPECT_THAT(host.LogIn("admin", "some secret words"), HasSubstr("Bearer"));
}

TEST(UserCommands, LeaveTheDatabaseAndTheFirstAdministratorToTheServer)
{
    HostProcess host;
    EXPECT_EQ(host.RunUserCommand({"add", "eve", "--role", "Viewer"}, "looks only here\n"), 78);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("there is no user database '" + host.GetFolder().GetPath("state/")));
    EXPECT_FALSE(std::filesystem::exists(host.GetFolder().GetPath("state")));
    host.WaitUntilReady();
    ASSERT_EQ(host.RunUserCommand({"add", "eve", "--role", "Viewer"}, "looks only here\n"), 0);
    EXPECT_EQ(host.RunUserCommand({"remove", "admin"}), 1);
    EXPECT_THAT(host.GetCommandOutput(), HasSubstr("is the last active one with the role Admin"));
    host.Stop();
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(host.GetFolder().GetPath("state/users.sqlite").c_str(), &connection), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(connection, "DELETE FROM users WHERE name = 'admin'", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(connection);
    // What a start that was cut off leaves behind.
    host.GetFolder().Write("state/initial-password", "old\n");
    host.GetFolder().Write("state/initial-password.new", "ol");
    host.WaitUntilReady();
    EXPECT_THAT(host.LogIn(), HasSubstr("Bearer"));
    EXPECT_EQ(host.GetFolder().Read("state/initial-password.new"), "");
}

} // namespace

} // namespace Oxa::Tests::EndToEnd
