#include "FakePeer.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Support/Eventually.hpp"
#include "Support/LogRecorder.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Rsc;
using namespace std::chrono_literals;
using Oxa::Tests::FakePeer;
using Oxa::Tests::Support::Eventually;
using Oxa::Tests::Support::LogRecorder;

constexpr const char* providerName = "Oxa.Tests";

struct RemoteEcho final : IRscService
{
    explicit RemoteEcho(std::shared_ptr<RscRemoteService> service) : service(std::move(service)) {}

    uint32 Call(const char* operationName, uint32 number) const
    {
        const bool isCommand = std::string_view(operationName) == "KeepCommand";
        const RscOperation operation{operationName, isCommand ? RscOperationKind::Command : RscOperationKind::Read, "u",
                                     "u", nullptr};
        service->Call(
            operation, [number](RscMessageWriter& writer) { writer.WriteUint32(number); },
            [&number](RscMessageReader& reader) { number = reader.ReadUint32(); });
        return number;
    }

    const std::shared_ptr<RscRemoteService> service;
};

struct EchoProxy final : IRscService
{
    explicit EchoProxy(std::shared_ptr<RscServiceSlot> slot) : slot(std::move(slot)) {}

    const std::shared_ptr<RscServiceSlot> slot;
};

struct EchoFactory final : IRscServiceProxyFactory
{
    explicit EchoFactory(const char* interfaceName = "Oxa::Tests::IEcho") : interfaceName(interfaceName) {}

    const char* GetServiceInterfaceName() const override
    {
        return interfaceName;
    }

    const char* GetServiceProviderName() const override
    {
        return providerName;
    }

    IRscService* CreateProxy(std::shared_ptr<RscServiceSlot> slot) override
    {
        return new EchoProxy(std::move(slot));
    }

    std::span<const RscOperation> GetOperations() const noexcept override
    {
        static const RscOperation operation{"Echo", RscOperationKind::Read, "u", "u", nullptr};
        return {&operation, 1};
    }

    std::shared_ptr<IRscService> CreateRemote(std::shared_ptr<RscRemoteService> service) override
    {
        return std::make_shared<RemoteEcho>(std::move(service));
    }

    const char* const interfaceName;
};

struct EpochRecorder final : IRscServiceListener
{
    EpochRecorder()
    {
        ServiceManager::AddListener(*this);
    }

    ~EpochRecorder() override
    {
        ServiceManager::RemoveListener(*this);
    }

    void OnEpochChanged(const BasicString& provider) noexcept override
    {
        const std::lock_guard lock(mutex);
        epochs.push_back(ServiceManager::GetEpoch(provider));
    }

    std::vector<uint64> Take()
    {
        const std::lock_guard lock(mutex);
        return std::exchange(epochs, {});
    }

private:
    std::mutex mutex;
    std::vector<uint64> epochs;
};

uint64 GetEpoch()
{
    return ServiceManager::GetEpoch(providerName);
}

class CallingAnotherProcess : public testing::Test
{
protected:
    ~CallingAnotherProcess() override
    {
        ServiceManager::ResetEndpoints();
    }

    std::unique_ptr<IRscService> Find()
    {
        return std::unique_ptr<IRscService>(ServiceManager::GetService(providerName, factory));
    }

    void Connect(std::chrono::milliseconds timeout, std::chrono::milliseconds commandTimeout = 30s)
    {
        peer.emplace(path);
        ASSERT_TRUE(peer->IsListening());
        ServiceManager::SetEndpoints({{providerName, path, timeout, commandTimeout}});
        const auto proxy = Find();
        ASSERT_NE(proxy, nullptr);
        echo = static_cast<EchoProxy&>(*proxy).slot->Acquire<RemoteEcho>();
    }

    /// "5" or the fault's name.
    std::string Call(const char* operation, uint32 number = 5, BasicString* message = nullptr) const
    {
        constexpr const char* names[] = {"NotAvailable", "TimedOut", "ConnectionLost", "InvalidResponse", "Refused"};
        try
        {
            return std::to_string(echo->Call(operation, number));
        }
        catch (const RscServiceException& exception)
        {
            if (message != nullptr)
            {
                *message = exception.GetMessage();
            }
            return names[static_cast<std::size_t>(exception.GetFault())];
        }
        catch (const System::Commons::Exception& exception)
        {
            return exception.GetMessage();
        }
    }

    [[nodiscard]] bool Reconnects() const
    {
        return Eventually([] { return GetEpoch() != 0; }, 10s);
    }

    const LogRecorder log;
    Oxa::Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("socket");
    EchoFactory factory;
    std::optional<FakePeer> peer;
    std::shared_ptr<RemoteEcho> echo;
};

TEST_F(CallingAnotherProcess, FindsNoServiceThatIsNotProvided)
{
    ServiceManager::SetEndpoints({{providerName, path, 2s, 2s}});
    EXPECT_EQ(Find(), nullptr) << "no process listens";
    EXPECT_EQ(GetEpoch(), 0U);
    peer.emplace(path);
    EXPECT_TRUE(Eventually([this] { return Find() != nullptr; }, 10s));
    EchoFactory missing("Oxa::Tests::IMissing");
    EXPECT_EQ(std::unique_ptr<IRscService>(ServiceManager::GetService(providerName, missing)), nullptr);
    EXPECT_EQ(peer->connections, 1U);
}

TEST_F(CallingAnotherProcess, ReportsFaultsAndSendsOnce)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Oxa.System.Rsc.Error.NotAvailable", "NotAvailable"},
        {"org.freedesktop.DBus.Error.UnknownMethod", "NotAvailable"},
        {"Oxa.System.Rsc.Error.Refused", "Refused"},
        {"org.freedesktop.DBus.Error.AccessDenied", "Refused"},
        {"org.freedesktop.DBus.Error.NoReply", "TimedOut"},
        {"org.freedesktop.DBus.Error.Disconnected", "ConnectionLost"},
        {"Some.Other", "InvalidResponse"},
        {"Oxa.System.Commons.ArgumentException", "cause"},
    };
    Connect(10s);
    for (const auto& [name, result] : cases)
    {
        peer->SetError(name);
        EXPECT_EQ(Call("Fail"), result) << name;
    }
    for (const auto& [operation, fault] :
         {std::pair("Retype", "InvalidResponse"), std::pair("HangUp", "ConnectionLost")})
    {
        BasicString message;
        const unsigned before = peer->calls;
        EXPECT_EQ(Call(operation, 1, &message), fault);
        EXPECT_NE(message.find("'" + BasicString(operation) + "' of the service 'Oxa::Tests::IEcho' at '" + path),
                  BasicString::npos)
            << message;
        EXPECT_EQ(peer->calls, before + 1) << operation;
        EXPECT_TRUE(Reconnects());
        EXPECT_EQ(Call("Echo"), "5") << "after " << operation;
    }
}

TEST_F(CallingAnotherProcess, DropsResponsesThatComeTooLate)
{
    EpochRecorder epochs;
    Connect(200ms);
    EXPECT_TRUE(Eventually([&epochs] { return !epochs.Take().empty(); }));
    std::atomic<bool> isOver = false;
    // Their responses show that the process is only slow with one call.
    std::thread others(
        [this, &isOver]
        {
            while (!isOver)
            {
                EXPECT_EQ(Call("Answer", 7), "7");
            }
        });
    for (uint32 number = 10; number < 13; ++number)
    {
        BasicString message;
        EXPECT_EQ(Call("Keep", 1, &message), "TimedOut");
        EXPECT_NE(message.find("had no response within 200 ms"), BasicString::npos) << message;
        EXPECT_EQ(Call("Echo", number), std::to_string(number));
    }
    isOver = true;
    others.join();
    EXPECT_TRUE(epochs.Take().empty());
}

TEST_F(CallingAnotherProcess, GivesEveryThreadItsOwnResponseAndRefusesTheSeventeenthCall)
{
    Connect(30s);
    std::vector<std::future<bool>> threads;
    for (uint32 number = 0; number < Internal::maximumCallsPerConnection; ++number)
    {
        threads.push_back(std::async(std::launch::async,
                                     [this, number]
                                     {
                                         bool isRight = echo->Call("Keep", number) == number;
                                         for (uint32 round = 0; round < 50; ++round)
                                         {
                                             isRight = isRight && echo->Call("Echo", round + number) == round + number;
                                         }
                                         return isRight;
                                     }));
    }
    EXPECT_TRUE(Eventually([this] { return peer->keptCalls == Internal::maximumCallsPerConnection; }, 10s));
    EXPECT_EQ(Call("Echo"), "Refused");
    peer->isReleasing = true;
    peer->Wake();
    for (auto& thread : threads)
    {
        EXPECT_TRUE(thread.get());
    }
}

TEST_F(CallingAnotherProcess, IsConnectedToOneRunOrToNone)
{
    struct Case
    {
        const char* name;
        const char* bootId;
        const char* buildId;
        bool isSameRun;
    };

    const Case cases[] = {{"the connection was lost", "boot", "build", true},
                          {"it restarted", "another boot", "build", false},
                          {"it was replaced", "another boot", "another build", false},
                          {"no identity", "", "", false},
                          {"again none", "", "", false},
                          {"the first one", "boot", "build", false}};
    EXPECT_EQ(GetEpoch(), 0U);
    EpochRecorder epochs;
    Connect(10s);
    EXPECT_TRUE(Eventually([&epochs] { return !epochs.Take().empty(); }, 10s));
    uint64 epoch = GetEpoch();
    EXPECT_NE(epoch, 0U);
    uint64 last = epoch;
    for (const Case& each : cases)
    {
        const unsigned connections = peer->connections;
        peer->isRefusing = true;
        peer->HangUp();
        EXPECT_TRUE(Eventually([] { return GetEpoch() == 0; }, 10s)) << each.name;
        // Calls do not connect, nor wait.
        EXPECT_TRUE(Eventually([this] { return Call("Echo") == "NotAvailable"; }, 10s));
        EXPECT_EQ(Find(), nullptr);
        EXPECT_TRUE(Eventually([this, connections] { return peer->connections > connections; }, 10s));
        peer->SetRun(each.bootId, each.buildId);
        peer->isRefusing = false;
        EXPECT_TRUE(Reconnects()) << each.name;
        epoch = GetEpoch();
        EXPECT_EQ(epoch == last, each.isSameRun) << each.name;
        EXPECT_TRUE(epoch == last || epoch > last) << each.name;
        last = epoch;
        const RscRun run = ServiceManager::GetRun(providerName);
        EXPECT_EQ(run.epoch, epoch);
        EXPECT_EQ(run.bootId, each.bootId);
        EXPECT_EQ(run.buildId, each.buildId);
        EXPECT_TRUE(Eventually([this] { return Call("Echo") == "5"; }, 10s)) << each.name;
        std::vector<uint64> reported;
        EXPECT_TRUE(Eventually(
            [&epochs, &reported]
            {
                const auto news = epochs.Take();
                reported.insert(reported.end(), news.begin(), news.end());
                return reported.size() >= 2;
            },
            10s));
        EXPECT_EQ(reported, (std::vector<uint64>{0, epoch})) << each.name;
    }
    const auto entries = log.GetEntries();
    const auto count = [&entries](const char* text)
    {
        return std::count_if(entries.begin(), entries.end(),
                             [text](const auto& entry) { return entry.message.find(text) != BasicString::npos; });
    };
    EXPECT_EQ(count("the services of 'Oxa.Tests' are lost: "), std::ssize(cases));
    EXPECT_EQ(count("are not available: the other process has closed"), std::ssize(cases));
    EXPECT_EQ(count("the services of 'Oxa.Tests' are available again"), std::ssize(cases));
}

TEST_F(CallingAnotherProcess, KeepsTheRunWhenNoFurtherConnectionIsAccepted)
{
    Connect(10s);
    const uint64 epoch = GetEpoch();
    peer->isRefusing = true;
    // It depends on the moment at which the peer closes the connection.
    EXPECT_THAT(Call("Echo"), testing::AnyOf("Refused", "NotAvailable"));
    peer->isRefusing = false;
    EXPECT_EQ(Call("Echo"), "5");
    EXPECT_EQ(GetEpoch(), epoch);
}

TEST_F(CallingAnotherProcess, LosesTheRunWhenAFurtherConnectionLeadsToAnotherOne)
{
    Connect(10s);
    const unsigned calls = peer->calls;
    peer->SetRun("another boot", "build");
    EXPECT_EQ(Call("Echo"), "NotAvailable");
    EXPECT_EQ(peer->calls, calls) << "nothing was sent to the other run";
    EXPECT_TRUE(Eventually([] { return ServiceManager::GetRun(providerName).bootId == "another boot"; }, 10s));
    EXPECT_EQ(Call("Echo"), "5");
}

TEST_F(CallingAnotherProcess, ConnectsOnlyToTheRightProvider)
{
    Connect(200ms);
    peer->isSilent = true;
    peer->HangUp();
    EXPECT_TRUE(Eventually([this] { return peer->connections >= 3; }, 10s)) << "it is tried again";
    EXPECT_EQ(GetEpoch(), 0U);
    peer->SetProvider("Oxa.Another");
    peer->isSilent = false;
    EXPECT_TRUE(Eventually([this] { return peer->connections >= 6; }, 10s));
    EXPECT_EQ(GetEpoch(), 0U);
    // An attempt that began before may still tell of the silent peer.
    BasicString message;
    const auto isRefused = [this, &message]
    {
        return Call("Echo", 1, &message) == "NotAvailable" &&
               message.find("does not provide them") != BasicString::npos;
    };
    EXPECT_TRUE(Eventually(isRefused, 10s)) << message;
    peer->SetProvider(providerName);
    EXPECT_TRUE(Reconnects());
    EXPECT_EQ(Call("Echo"), "5");
}

TEST_F(CallingAnotherProcess, EndsAllCallsWhenTheProcessDoesNotRespond)
{
    Connect(300ms);
    std::vector<std::future<std::string>> commands;
    for (uint32 number = 0; number < 4; ++number)
    {
        commands.push_back(std::async(std::launch::async, [this] { return Call("KeepCommand"); }));
    }
    EXPECT_TRUE(Eventually([this] { return peer->keptCalls == 4; }, 10s));
    peer->isSilent = true;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Call("Keep"), "TimedOut");
    EXPECT_EQ(GetEpoch(), 0U);
    for (auto& command : commands)
    {
        EXPECT_EQ(command.get(), "ConnectionLost");
    }
    EXPECT_EQ(Call("Echo"), "NotAvailable");
    EXPECT_LE(std::chrono::steady_clock::now() - begin, 5s) << "no call waits for its own deadline";
    peer->isSilent = false;
    EXPECT_TRUE(Reconnects());
    EXPECT_EQ(Call("Echo"), "5");
}

TEST_F(CallingAnotherProcess, EndsCallsAndAttemptsToConnectWhenTheEndpointsAreReset)
{
    Connect(60s);
    auto call = std::async(std::launch::async, [this] { return Call("Keep"); });
    EXPECT_TRUE(Eventually([this] { return peer->keptCalls == 1; }, 10s));
    const auto begin = std::chrono::steady_clock::now();
    ServiceManager::ResetEndpoints();
    EXPECT_THAT(call.get(), testing::AnyOf("ConnectionLost", "NotAvailable"));

    Connect(60s);
    peer->isSilent = true;
    const unsigned connections = peer->connections;
    peer->HangUp();
    EXPECT_TRUE(Eventually([this, connections] { return peer->connections > connections; }, 10s));
    ServiceManager::ResetEndpoints();
    EXPECT_LE(std::chrono::steady_clock::now() - begin, 20s) << "no call or attempt waits for its own deadline";
}

TEST_F(CallingAnotherProcess, HasEndedTheEpochWhenACallFails)
{
    Connect(10s);
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index)
    {
        threads.emplace_back(
            [this, &isOver]
            {
                while (!isOver)
                {
                    const uint64 before = GetEpoch();
                    // The peer responds with the number of its run.
                    const std::string first = Call("Run");
                    const std::string second = Call("Run");
                    const bool isFault = first.find_first_not_of("0123456789") != std::string::npos ||
                                         second.find_first_not_of("0123456789") != std::string::npos;
                    if (before != 0 && GetEpoch() == before)
                    {
                        EXPECT_FALSE(isFault) << first << ' ' << second;
                        EXPECT_EQ(first, second);
                    }
                }
            });
    }
    for (int run = 1; run <= 8; ++run)
    {
        peer->Restart("boot " + std::to_string(run));
        EXPECT_TRUE(Eventually(
            [run] { return ServiceManager::GetRun(providerName).bootId == "boot " + std::to_string(run); }, 10s));
    }
    isOver = true;
    for (auto& thread : threads)
    {
        thread.join();
    }
}

} // namespace
