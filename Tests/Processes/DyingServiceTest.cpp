#include "Oxa/System/Rsc/IRscServiceListener.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Processes/DeviceClient.hpp"
#include "Processes/DeviceProcess.hpp"
#include "Processes/Readers.hpp"

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <optional>

namespace Oxa::Tests::Processes
{

using namespace std::chrono_literals;
using System::Rsc::ServiceManager;

namespace
{

struct Possessions
{
    std::ptrdiff_t descriptors;
    std::ptrdiff_t threads;

    bool operator==(const Possessions&) const = default;
};

std::ptrdiff_t CountEntries(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

Possessions CountPossessions()
{
    return {CountEntries("/proc/self/fd"), CountEntries("/proc/self/task")};
}

/// The kernel forgets threads that were joined a moment later.
void ExpectPossessions(const Possessions& expected)
{
    const auto end = std::chrono::steady_clock::now() + 2s;
    while (CountPossessions() != expected && std::chrono::steady_clock::now() < end)
    {
        poll(nullptr, 0, 1);
    }
    EXPECT_EQ(CountPossessions().descriptors, expected.descriptors);
    EXPECT_EQ(CountPossessions().threads, expected.threads);
}

struct LossCounter final : System::Rsc::IRscServiceListener
{
    LossCounter()
    {
        ServiceManager::AddListener(*this);
    }

    ~LossCounter() override
    {
        ServiceManager::RemoveListener(*this);
    }

    void OnServicesLost(const BasicString& /*providerName*/) noexcept override
    {
        ++losses;
    }

    void OnServicesAvailable(const BasicString& /*providerName*/) noexcept override {}

    std::atomic<int> losses = 0;
};

void KillAgainAndAgain(DeviceProcess& device, int rounds)
{
    const Possessions atStart = CountPossessions();
    std::optional<DeviceClient> client(device.GetEndpoint());
    std::optional<LossCounter> listener(std::in_place);
    device.Start();
    ASSERT_TRUE(client->TryFind());
    std::optional<Readers> readers(*client);
    readers->WaitUntilRight(1);
    const Possessions whileServed = CountPossessions();
    std::chrono::milliseconds longestRecovery{0};
    for (int round = 0; round < rounds; ++round)
    {
        // At another moment of the calls each time; nearly always one is under way in the other process.
        readers->WaitUntilRight(round % 5);
        device.Kill();
        device.Start();
        longestRecovery = std::max(longestRecovery, readers->WaitUntilRight(1));
    }
    ExpectPossessions(whileServed);
    readers->Stop();
    EXPECT_EQ(readers->GetWrongValues(), "");
    EXPECT_LE(readers->GetLongestCall(), DeviceProcess::readTimeout + 500ms);
    EXPECT_LE(longestRecovery, 2s);
    EXPECT_GE(listener->losses, rounds);
    testing::Test::RecordProperty("longestCallMilliseconds", std::to_string(readers->GetLongestCall().count()));
    testing::Test::RecordProperty("longestRecoveryMilliseconds", std::to_string(longestRecovery.count()));
    device.Kill();
    readers.reset();
    listener.reset();
    client.reset();
    ExpectPossessions(atStart);
}

TEST(KillingTheService, DoesNoHarmToManyReadersWhenSystemdKeepsTheSocket)
{
    DeviceProcess device;
    device.HandOverSocket();
    KillAgainAndAgain(device, 90);
}

TEST(KillingTheService, DoesNoHarmToManyReadersWhenTheSocketIsMadeAnew)
{
    DeviceProcess device;
    KillAgainAndAgain(device, 10);
}

TEST(StoppingTheService, EndsCallsInTimeAndDropsAnswersThatComeTooLate)
{
    DeviceProcess device;
    device.Start();
    DeviceClient client(device.GetEndpoint());
    ASSERT_TRUE(client.TryFind());
    for (int number = 0; number + 3 < DeviceProcess::itemsCount; number += 13)
    {
        device.Suspend();
        for (const Outcome& outcome : {client.Read(MakeKey(number)), client.ReadMany({MakeKey(number + 1)})})
        {
            EXPECT_EQ(outcome, "TimedOut");
            EXPECT_LE(outcome.duration, DeviceProcess::readTimeout + 500ms);
        }
        device.GetProcess().SendSignal(SIGCONT);
        EXPECT_EQ(client.Read(MakeKey(number + 2)), MakeKey(number + 2) + '!');
    }
    device.Suspend();
    const Outcome command = client.Restart();
    EXPECT_EQ(command, "TimedOut");
    EXPECT_LE(command.duration, DeviceProcess::commandTimeout + 500ms);
}

} // namespace

} // namespace Oxa::Tests::Processes
