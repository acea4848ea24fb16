#include "BusCaller.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/Possessions.hpp"
#include "Support/TemporaryFolder.hpp"
#include "Support/UnixSocket.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>

namespace Oxa::Tests
{

namespace
{

using namespace System::Rsc;
using System::Commons::FileDescriptor;

/// Whether the peer closes the connection.
bool IsClosed(int descriptor)
{
    pollfd closed = {descriptor, POLLRDHUP, 0};
    return poll(&closed, 1, 10000) == 1;
}

class Serving : public testing::Test
{
protected:
    void Start(bool mayCommand = true)
    {
        RscServerConfiguration configuration;
        configuration.socketPath = path;
        configuration.users = {{std::to_string(getuid()), mayCommand}, {"unknown user", true}};
        configuration.maximumConnections = 3;
        server.emplace(configuration);
    }

    const Support::LogRecorder log;
    const Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("socket");
    const BasicString address = "unix:path=" + path;
    ProvidedEcho echo;
    std::optional<RscServer> server;
};

TEST_F(Serving, RespondsWithResultsAndErrors)
{
    Start();
    BusCaller caller(address);
    EXPECT_EQ(caller.Echo(4711), 4711U);
    const std::pair<const char*, const char*> cases[] = {{"Fail", "Oxa.System.Commons.Exception"},
                                                         {"Flood", "Oxa.System.Commons.InvalidOperationException"},
                                                         {"Echo", "org.freedesktop.DBus.Error.InvalidArgs"},
                                                         {"Nothing", "org.freedesktop.DBus.Error.UnknownMethod"},
                                                         {"Change", ""}};
    for (const auto& [member, error] : cases)
    {
        EXPECT_EQ(caller.Call(member), error) << member;
    }
    EXPECT_EQ(caller.Echo(1), 1U);
    server.reset();
    EXPECT_EQ(echo.service->answered, 1);
    EXPECT_EQ(echo.service->userId, getuid());
}

TEST_F(Serving, AcceptsOnlyConfiguredUsersAndCommandsOnlyOfSome)
{
    Start(false);
    BusCaller reader(address);
    EXPECT_EQ(reader.Echo(1), 1U);
    EXPECT_EQ(reader.Call("Change"), "Oxa.System.Rsc.Error.Refused");
    EXPECT_EQ(echo.service->changes, 0);

    RscServerConfiguration configuration;
    configuration.socketPath = folder.GetPath("other");
    configuration.users = {{std::to_string(getuid() + 1), true}};
    const RscServer other(configuration);
    for (int index = 0; index < 2; ++index)
    {
        BusCaller unknown("unix:path=" + configuration.socketPath);
        EXPECT_EQ(unknown.Echo(1), 0U);
    }
    const auto entries = log.GetEntries();
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                            [](const auto& entry)
                            { return entry.message.find("connection refused") != BasicString::npos; }),
              1);
}

TEST_F(Serving, ExecutesOtherCallsWhileOneLastsUpToABound)
{
    Start();
    BusCaller caller(address);
    BusCaller another(address);
    constexpr int bound = Internal::maximumCallsPerConnection;
    for (int index = 0; index + 1 < bound; ++index)
    {
        caller.CallLater("Wait");
    }
    EXPECT_EQ(caller.Echo(2), 2U);
    caller.CallLater("Wait");
    EXPECT_EQ(caller.Call("Echo"), "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_EQ(caller.Call("Fail"), "Oxa.System.Rsc.Error.Refused");
    EXPECT_EQ(another.Echo(3), 3U);
    for (int index = 0; index < bound; ++index)
    {
        another.CallLater("Wait");
    }
    // All threads are blocked but the last one, which executes no calls and so can refuse them.
    EXPECT_EQ(another.Call("Fail"), "Oxa.System.Rsc.Error.Refused");
    echo.service->letGo.set_value();
    caller.WaitForResponses(bound);
    another.WaitForResponses(bound);
    EXPECT_EQ(another.Echo(5), 5U);
}

TEST_F(Serving, EndsWhileCallsLastAndLeavesNothingBehind)
{
    const Support::Possessions before;
    {
        Start();
        std::optional<BusCaller> goesBefore(std::in_place, address);
        goesBefore->CallLater("Wait");
        EXPECT_EQ(goesBefore->Echo(1), 1U);
        BusCaller stays(address);
        stays.CallLater("Wait");
        EXPECT_EQ(stays.Echo(1), 1U);
        goesBefore.reset();
        EXPECT_EQ(stays.Echo(2), 2U);
        echo.service->letGo.set_value();
        server.reset();
    }
    before.ExpectSame();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(Serving, ReleasesTheDescriptorsOfCallersThatDisconnectDuringACall)
{
    Start();
    BusCaller stays(address);
    EXPECT_EQ(stays.Echo(1), 1U);
    const Support::Possessions before;
    for (int round = 0; round < 2; ++round)
    {
        BusCaller goes(address);
        goes.CallLater("Wait");
        EXPECT_EQ(goes.Echo(1), 1U);
    }
    echo.service->letGo.set_value();
    before.ExpectSameDescriptors();
}

TEST_F(Serving, EndsTheConnectionsOfARunThatIsOver)
{
    echo.Withdraw();
    Start();
    {
        BusCaller early(address);
        EXPECT_EQ(early.GetRuns(), "");
        EXPECT_EQ(early.Call("Change"), "org.freedesktop.DBus.Error.UnknownObject");
    }
    echo.Provide();
    BusCaller caller(address);
    EXPECT_EQ(caller.GetRuns(), "Oxa.Test boot build Oxa.Test.IEchoService\n");
    EXPECT_NE(caller.Introspect().find("<method name=\"Echo\">"), std::string::npos);
    EXPECT_EQ(caller.Call("Change"), "");
    caller.CallLater("Wait");
    EXPECT_EQ(caller.Echo(1), 1U);
    echo.Withdraw();
    echo.Provide();
    // Neither further calls nor those in progress are answered by the previous run.
    echo.service->letGo.set_value();
    EXPECT_TRUE(IsClosed(caller.GetDescriptor()));
    EXPECT_EQ(caller.Echo(1), 0U);
    EXPECT_EQ(caller.CountResponses(), 0);
    EXPECT_EQ(BusCaller(address).Echo(2), 2U);
}

TEST_F(Serving, EndsTheConnectionThatSendsGarbageAndNoOther)
{
    Start();
    BusCaller decent(address);
    const std::string garbage(64, 'x');
    for (const bool isAuthenticated : {true, false})
    {
        BusCaller hostile(address);
        const int connection = isAuthenticated ? hostile.GetDescriptor() : Support::MakeUnixSocket(&connect, path);
        EXPECT_EQ(hostile.Echo(1), 1U);
        EXPECT_GT(write(connection, garbage.data(), garbage.size()), 0);
        EXPECT_TRUE(IsClosed(connection)) << isAuthenticated;
        EXPECT_EQ(decent.Echo(2), 2U) << isAuthenticated;
        close(isAuthenticated ? -1 : connection);
    }
}

TEST_F(Serving, RefusesConnectionsThatAreTooMany)
{
    Start();
    {
        BusCaller first(address);
        BusCaller second(address);
        BusCaller third(address);
        EXPECT_EQ(first.Echo(1) + second.Echo(1) + third.Echo(1), 3U);
        EXPECT_EQ(BusCaller(address).Echo(1), 0U);
    }
    EXPECT_TRUE(Support::Eventually([this] { return BusCaller(address).Echo(1) == 1; }));
}

TEST_F(Serving, TakesOverAListeningSocketAndNothingElse)
{
    RscServerConfiguration configuration;
    configuration.users = {{std::to_string(getuid()), true}};
    {
        const RscServer taking(configuration, FileDescriptor(Support::ListenAt(path)));
        BusCaller caller(address);
        EXPECT_EQ(caller.Echo(1), 1U);
    }
    EXPECT_TRUE(std::filesystem::exists(path)) << "it was made by another process";
    EXPECT_THROW(RscServer(configuration, FileDescriptor(Support::MakeUnixSocket(&bind, folder.GetPath("mute")))),
                 System::Commons::InvalidOperationException);
}

TEST_F(Serving, ReplacesOnlyASocketWithoutAListener)
{
    close(Support::MakeUnixSocket(&bind, path));
    Start();
    BusCaller caller(address);
    EXPECT_EQ(caller.Echo(1), 1U);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0666));

    RscServerConfiguration configuration;
    for (const BasicString& taken : {path, folder.Write("file", "text"), folder.GetPath("no folder/socket")})
    {
        configuration.socketPath = taken;
        try
        {
            const RscServer second(configuration);
            FAIL() << taken;
        }
        catch (const System::Commons::InvalidOperationException& exception)
        {
            EXPECT_NE(BasicString(exception.what()).find("'" + taken + "': "), BasicString::npos) << exception.what();
        }
    }
    EXPECT_EQ(folder.Read("file"), "text");
    EXPECT_EQ(caller.Echo(2), 2U);
}

} // namespace

} // namespace Oxa::Tests
