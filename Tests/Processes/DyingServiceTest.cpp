#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Processes/DeviceClient.hpp"
#include "Processes/DeviceProcess.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/Possessions.hpp"

#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace Oxa::Tests::Processes
{

using namespace std::chrono_literals;
using System::Rsc::ServiceManager;

namespace
{

uint64 GetEpoch()
{
    return ServiceManager::GetEpoch("Oxa.Device");
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

    void OnEpochChanged(const BasicString& providerName) noexcept override
    {
        losses += ServiceManager::GetEpoch(providerName) == 0 ? 1 : 0;
    }

    std::atomic<int> losses = 0;
};

/// Threads that read all the time over one client: so many items at once that it takes the service some time, a few,
/// and single ones.
class Readers final
{
public:
    explicit Readers(const DeviceClient& client) : client(client)
    {
        for (int number = 0; number < 2000; ++number)
        {
            manyKeys.push_back(MakeKey(number % DeviceProcess::itemsCount));
            manyValues += (number == 0 ? "" : " ") + manyKeys.back() + '!';
        }
        for (int index = 0; index < count; ++index)
        {
            threads.at(index) = std::thread([this, index] { Run(index); });
        }
    }

    Readers(const Readers&) = delete;
    Readers& operator=(const Readers&) = delete;

    ~Readers()
    {
        isStopping = true;
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }

    /// Until every thread has got so many further right values; how long that took.
    std::chrono::milliseconds WaitUntilRight(int values) const
    {
        std::array<int, count> wanted = {};
        std::transform(rightValues.begin(), rightValues.end(), wanted.begin(),
                       [values](const auto& right) { return right + values; });
        const auto hasAll = [this, &wanted]
        {
            return std::equal(wanted.begin(), wanted.end(), rightValues.begin(), std::less_equal<>());
        };
        return DeviceClient::Measure([&hasAll] { return Eventually(hasAll, 10s) ? "right" : "late"; }).duration;
    }

    /// What came in and was not the value of the item that was read.
    [[nodiscard]] BasicString GetWrongValue() const
    {
        const std::lock_guard lock(mutex);
        return wrongValue;
    }

    [[nodiscard]] std::chrono::milliseconds GetLongestCall() const
    {
        const std::lock_guard lock(mutex);
        return longestCall;
    }

private:
    static constexpr int count = 4;

    void Run(int index)
    {
        for (int round = 0; !isStopping; ++round)
        {
            const BasicString first = MakeKey((7 * round + index) % DeviceProcess::itemsCount);
            const BasicString second = MakeKey((5 * round) % DeviceProcess::itemsCount);
            switch (index)
            {
            case 0:
                Note(index, client.ReadMany(manyKeys), manyValues);
                break;
            case 1:
                Note(index, client.ReadMany({first, second, first}), first + "! " + second + "! " + first + '!');
                break;
            default:
                Note(index, client.Read(first), first + '!');
            }
        }
    }

    void Note(int index, const Outcome& outcome, const BasicString& expected)
    {
        // A process that ends during a handshake looks like one that refuses the connection.
        static const std::set<BasicString> faults = {"NotAvailable", "ConnectionLost", "TimedOut", "Refused"};
        const bool isFault = faults.contains(outcome.text);
        {
            const std::lock_guard lock(mutex);
            longestCall = std::max(longestCall, outcome.duration);
            rightValues.at(index) += outcome == expected ? 1 : 0;
            wrongValue = isFault || outcome == expected ? wrongValue : outcome.text + " for " + expected;
        }
        // Leaves the processor to the service that starts.
        poll(nullptr, 0, isFault ? 1 : 0);
    }

    const DeviceClient& client;
    std::vector<BasicString> manyKeys;
    BasicString manyValues;
    std::atomic<bool> isStopping = false;
    std::array<std::atomic<int>, count> rightValues = {};
    mutable std::mutex mutex;
    BasicString wrongValue;
    std::chrono::milliseconds longestCall{0};
    std::array<std::thread, count> threads;
};

void KillAgainAndAgain(DeviceProcess& device, int rounds)
{
    // In place of the console, whose log has a thread of its own.
    const Support::LogRecorder log;
    const Support::Possessions atStart;
    std::optional<DeviceClient> client(device.GetEndpoint());
    std::optional<LossCounter> listener(std::in_place);
    device.Start();
    ASSERT_TRUE(client->TryFind());
    std::optional<Readers> readers(*client);
    readers->WaitUntilRight(1);
    const Support::Possessions whileServed;
    std::chrono::milliseconds longestRecovery{0};
    for (int round = 0; round < rounds; ++round)
    {
        // At another moment of the calls each time; nearly always one is in progress in the other process.
        readers->WaitUntilRight(round % 5);
        device.Kill();
        device.Start();
        longestRecovery = std::max(longestRecovery, readers->WaitUntilRight(1));
    }
    whileServed.ExpectSame();
    EXPECT_EQ(readers->GetWrongValue(), "");
    EXPECT_LE(readers->GetLongestCall(), DeviceProcess::readTimeout + 500ms);
    EXPECT_LE(longestRecovery, 2s);
    EXPECT_GE(listener->losses, rounds);
    testing::Test::RecordProperty("longestCallMilliseconds", std::to_string(readers->GetLongestCall().count()));
    testing::Test::RecordProperty("longestRecoveryMilliseconds", std::to_string(longestRecovery.count()));
    device.Kill();
    readers.reset();
    listener.reset();
    client.reset();
    atStart.ExpectSame();
}

TEST(KillingTheService, DoesNoHarmToManyReadersWhenSystemdKeepsTheSocket)
{
    DeviceProcess device;
    device.HandOverSocket();
    KillAgainAndAgain(device, 12);
}

TEST(KillingTheService, DoesNoHarmToManyReadersWhenTheSocketIsMadeAnew)
{
    DeviceProcess device;
    KillAgainAndAgain(device, 4);
}

TEST(StoppingTheService, CostsNoCallMoreThanOneDeadline)
{
    DeviceProcess device;
    device.Start();
    DeviceClient client(device.GetEndpoint());
    ASSERT_TRUE(client.TryFind());
    const uint64 epoch = GetEpoch();
    {
        const Readers readers(client);
        for (int round = 0; round < 3; ++round)
        {
            readers.WaitUntilRight(1);
            device.Suspend();
            EXPECT_TRUE(Eventually([] { return GetEpoch() == 0; }, DeviceProcess::readTimeout + 500ms));
            for (int call = 0; call < 10; ++call)
            {
                const Outcome outcome = client.Read("Test.1");
                EXPECT_EQ(outcome, "NotAvailable");
                EXPECT_LT(outcome.duration, DeviceProcess::readTimeout / 2);
            }
            device.GetProcess().SendSignal(SIGCONT);
            EXPECT_LE(readers.WaitUntilRight(5), 2s);
            EXPECT_EQ(GetEpoch(), epoch);
        }
        EXPECT_EQ(readers.GetWrongValue(), "");
        EXPECT_LE(readers.GetLongestCall(), DeviceProcess::readTimeout + 500ms);
    }
    device.Suspend();
    const Outcome command = client.Restart();
    EXPECT_EQ(command, "TimedOut");
    EXPECT_LE(command.duration, DeviceProcess::commandTimeout + 500ms);
}

} // namespace

} // namespace Oxa::Tests::Processes
