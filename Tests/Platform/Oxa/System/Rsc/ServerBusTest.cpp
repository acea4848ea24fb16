#include "BusCaller.hpp"
#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"
#include "Support/ChildProcess.hpp"
#include "Support/TemporaryFolder.hpp"

#include <optional>
#include <thread>

namespace Oxa::Tests
{

namespace
{

using namespace System::Rsc;

class ServingOnABus : public testing::Test
{
protected:
    void StartBus()
    {
        bus.emplace(std::vector<BasicString>{"/usr/bin/dbus-daemon", "--session", "--nofork", "--print-address",
                                             "--address=" + address});
        static_cast<void>(bus->WaitForLine("unix:"));
    }

    RscServerConfiguration MakeConfiguration(uid_t userId) const
    {
        RscServerConfiguration configuration;
        configuration.busAddress = address;
        configuration.busName = name;
        configuration.users = {{std::to_string(userId), false}};
        return configuration;
    }

    const Support::TemporaryFolder folder;
    const BasicString address = "unix:path=" + folder.GetPath("bus");
    const BasicString name = "Oxa.Test";
    std::optional<Support::ChildProcess> bus;
    ProvidedEcho echo;
};

TEST_F(ServingOnABus, AnswersConfiguredUsersAndShowsWhatIsProvided)
{
    StartBus();
    const RscServer server(MakeConfiguration(getuid()));
    BusCaller caller(address, name);
    EXPECT_EQ(caller.Echo(1), 1U);
    EXPECT_EQ(caller.Echo(2), 2U);
    EXPECT_EQ(caller.Call("Change"), "Oxa.System.Rsc.Error.Refused");
    EXPECT_NE(caller.Introspect().find("<method name=\"Echo\">"), std::string::npos);
    ProvidedEcho::Withdraw();
    EXPECT_EQ(caller.Introspect().find("<method name=\"Echo\">"), std::string::npos);
    EXPECT_THROW(RscServer{MakeConfiguration(getuid())}, System::Commons::InvalidOperationException) << "taken";
}

TEST_F(ServingOnABus, RefusesOtherUsersEvenReads)
{
    StartBus();
    const RscServer server(MakeConfiguration(getuid() + 1));
    BusCaller caller(address, name);
    EXPECT_EQ(caller.Call("Fail"), "Oxa.System.Rsc.Error.Refused");
}

TEST_F(ServingOnABus, ComesBackWithTheBusAndServesItsSocketMeanwhile)
{
    EXPECT_THROW(RscServer{MakeConfiguration(getuid())}, System::Commons::InvalidOperationException) << "no bus";
    StartBus();
    RscServerConfiguration configuration = MakeConfiguration(getuid());
    configuration.socketPath = folder.GetPath("socket");
    const RscServer server(configuration);
    bus.reset();
    BusCaller peer("unix:path=" + configuration.socketPath);
    EXPECT_EQ(peer.Echo(1), 1U);
    StartBus();
    BusCaller caller(address, name);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    std::uint32_t echoed = 0;
    while ((echoed = caller.Echo(2)) == 0 && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(echoed, 2U);
}

} // namespace

} // namespace Oxa::Tests
