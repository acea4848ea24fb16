#include "FakePeer.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/IRscServiceListener.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/ProtocolLimits.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <utility>

namespace
{

using namespace Oxa;
using namespace Oxa::System::Rsc;
using namespace std::chrono_literals;
using Oxa::Tests::FakePeer;

constexpr const char* providerName = "Oxa.Tests";

struct RemoteEcho final : IRscService
{
    explicit RemoteEcho(std::shared_ptr<RscRemoteService> service) : service(std::move(service)) {}

    uint32 Call(const char* operationName, uint32 number) const
    {
        const RscOperation operation{operationName, RscOperationKind::Read, "u", "u", nullptr};
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

    void Connect(std::chrono::milliseconds timeout)
    {
        peer.emplace(path);
        ASSERT_TRUE(peer->isListening);
        ServiceManager::SetEndpoints({{providerName, path, timeout, timeout}});
        const auto proxy = Find();
        ASSERT_NE(proxy, nullptr);
        echo = static_cast<EchoProxy&>(*proxy).slot->Acquire<RemoteEcho>();
    }

    std::optional<RscFault> GetFault(const char* operation, BasicString* message = nullptr) const
    {
        try
        {
            static_cast<void>(echo->Call(operation, 1));
            return std::nullopt;
        }
        catch (const RscServiceException& exception)
        {
            if (message != nullptr)
            {
                *message = exception.GetMessage();
            }
            return exception.GetFault();
        }
    }

    Oxa::Tests::Support::TemporaryFolder folder;
    const BasicString path = folder.GetPath("socket");
    EchoFactory factory;
    std::optional<FakePeer> peer;
    std::shared_ptr<RemoteEcho> echo;
};

TEST_F(CallingAnotherProcess, GivesNothingWhereNobodyListens)
{
    ServiceManager::SetEndpoints({{providerName, path, 2s, 2s}});
    EXPECT_EQ(Find(), nullptr);
}

TEST_F(CallingAnotherProcess, SaysWhatWentWrongAndConnectsAgain)
{
    const std::pair<const char*, RscFault> cases[] = {{"Missing", RscFault::NotAvailable},
                                                      {"Retype", RscFault::BadAnswer},
                                                      {"Garble", RscFault::BadAnswer},
                                                      {"Swell", RscFault::BadAnswer},
                                                      {"HangUp", RscFault::ConnectionLost}};
    Connect(10s);
    for (const auto& [operation, fault] : cases)
    {
        BasicString message;
        EXPECT_EQ(GetFault(operation, &message), fault) << operation;
        EXPECT_NE(message.find("'" + BasicString(operation) + "' of the service 'Oxa::Tests::IEcho' at '" + path),
                  BasicString::npos)
            << message;
        EXPECT_EQ(echo->Call("Echo", 5), 5U) << "after " << operation;
    }
}

TEST_F(CallingAnotherProcess, DropsAnswersThatComeTooLateOrThatNobodyAskedFor)
{
    Connect(200ms);
    for (uint32 number = 10; number < 13; ++number)
    {
        BasicString message;
        EXPECT_EQ(GetFault("Keep", &message), RscFault::TimedOut);
        EXPECT_NE(message.find("had no answer within 200 ms"), BasicString::npos) << message;
        EXPECT_EQ(echo->Call("Echo", number), number);
    }
    EXPECT_EQ(peer->connections, 1U);
}

TEST_F(CallingAnotherProcess, HandsEveryThreadItsOwnAnswerAndRefusesTheOneTooMany)
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
    while (peer->keptCalls < Internal::maximumCallsPerConnection)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(GetFault("Echo"), RscFault::Refused);
    peer->isReleasing = true;
    peer->Wake();
    for (auto& thread : threads)
    {
        EXPECT_TRUE(thread.get());
    }
}

TEST_F(CallingAnotherProcess, PausesBetweenAttemptsAfterThreeFailures)
{
    Connect(10s);
    peer->isRefusing = true;
    EXPECT_EQ(GetFault("HangUp"), RscFault::ConnectionLost);
    const auto begin = std::chrono::steady_clock::now();
    for (int call = 0; call < 20; ++call)
    {
        EXPECT_EQ(GetFault("Echo"), RscFault::Refused);
    }
    const auto pauses = (std::chrono::steady_clock::now() - begin) / 500ms;
    EXPECT_LE(peer->connections, 1 + 3 + pauses);
}

struct WaitingListener final : IRscServiceListener
{
    void OnEpochChanged(const BasicString& provider) noexcept override
    {
        if (ServiceManager::GetEpoch(provider) != 0)
        {
            OnAvailable();
            return;
        }
        connectionsAtLoss = getConnections();
        faultAtLoss = getFault();
        lost.set_value();
    }

    void OnAvailable() noexcept
    {
        if (!std::exchange(wasAvailable, true))
        {
            available.set_value();
        }
    }

    std::function<unsigned()> getConnections;
    std::function<std::optional<RscFault>()> getFault;
    std::promise<void> lost;
    std::promise<void> available;
    unsigned connectionsAtLoss = 0;
    std::optional<RscFault> faultAtLoss;
    bool wasAvailable = false;
};

TEST_F(CallingAnotherProcess, TellsOfADeathThatNoCallNoticedBeforeAnybodyConnectsAgain)
{
    Connect(10s);
    // A service that was never there is not waited for.
    EchoFactory missing("Oxa::Tests::IMissing");
    EXPECT_EQ(std::unique_ptr<IRscService>(ServiceManager::GetService(providerName, missing)), nullptr);
    WaitingListener listener;
    listener.getConnections = [this]
    {
        return peer->connections.load();
    };
    // As another thread's call would go meanwhile.
    listener.getFault = [this]
    {
        return std::async(std::launch::async, [this] { return GetFault("Echo"); }).get();
    };
    ServiceManager::AddListener(listener);
    peer->isHangingUp = true;
    peer->Wake();
    EXPECT_EQ(listener.lost.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_EQ(listener.available.get_future().wait_for(10s), std::future_status::ready);
    ServiceManager::RemoveListener(listener);
    EXPECT_EQ(listener.connectionsAtLoss, 1U);
    EXPECT_EQ(listener.faultAtLoss, RscFault::ConnectionLost);
    EXPECT_EQ(echo->Call("Echo", 3), 3U);
}

} // namespace
