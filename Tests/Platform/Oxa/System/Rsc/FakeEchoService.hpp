#pragma once

#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRegistration.hpp"

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Oxa::Tests
{

/// What the tests of the server call: responds at once, late, with an error, or with too much.
struct FakeEchoService final : System::Rsc::IRscService
{
    static FakeEchoService& From(System::Rsc::IRscService& service)
    {
        return dynamic_cast<FakeEchoService&>(service);
    }

    std::promise<void> letGo;
    const std::shared_future<void> isLetGo = letGo.get_future().share();
    std::atomic<int> changes = 0;
    /// Of the last change.
    std::atomic<uint32> userId = 0;
    std::atomic<int> answered = 0;
};

/// Knows the echo service. Lives as long as the process: the manager keeps it.
class FakeEchoFactory final : public System::Rsc::IRscServiceProxyFactory
{
public:
    static constexpr const char* path = "/Oxa/Test";
    static constexpr const char* interface = "Oxa.Test.IEchoService";

    static FakeEchoFactory& GetInstance()
    {
        static FakeEchoFactory factory;
        return factory;
    }

    [[nodiscard]] const char* GetServiceInterfaceName() const override
    {
        return "Oxa::Test::IEchoService";
    }

    [[nodiscard]] const char* GetServiceProviderName() const override
    {
        return "Oxa.Test";
    }

    [[nodiscard]] System::Rsc::IRscService* CreateProxy(std::shared_ptr<System::Rsc::RscServiceSlot> /*slot*/) override
    {
        return nullptr;
    }

    [[nodiscard]] std::span<const System::Rsc::RscOperation> GetOperations() const noexcept override
    {
        using namespace System::Rsc;
        static constexpr RscOperation operations[] = {
            {"Echo", RscOperationKind::Read, "u", "u",
             [](IRscService&, RscMessageReader& arguments, RscMessageWriter& results)
             {
                 results.WriteUint32(arguments.ReadUint32());
             }},
            {"Wait", RscOperationKind::Read, "", "",
             [](IRscService& service, RscMessageReader&, RscMessageWriter&)
             {
                 FakeEchoService::From(service).isLetGo.wait();
             }},
            {"Change", RscOperationKind::Command, "", "",
             [](IRscService& service, RscMessageReader&, RscMessageWriter&)
             {
                 auto& echo = FakeEchoService::From(service);
                 ++echo.changes;
                 echo.userId = RscCallContext::TryGetCurrent()->GetUserId();
                 RscCallContext::TryGetCurrent()->RunAfterAnswer([&echo] { ++echo.answered; });
             }},
            {"Fail", RscOperationKind::Read, "", "",
             [](IRscService&, RscMessageReader&, RscMessageWriter&)
             {
                 throw 1;
             }},
            {"Flood", RscOperationKind::Read, "", "s",
             [](IRscService&, RscMessageReader&, RscMessageWriter& results)
             {
                 results.WriteText(std::string(300000, 'x'));
             }}};
        return operations;
    }
};

/// Provides an echo service until it goes.
class ProvidedEcho final
{
public:
    ProvidedEcho()
    {
        Provide();
    }

    void Provide()
    {
        using Service = System::Rsc::RscRegistration::Service;
        registration.emplace("boot", "build", std::vector<Service>{{FakeEchoFactory::GetInstance(), service}});
    }

    void Withdraw()
    {
        registration.reset();
    }

    const std::shared_ptr<FakeEchoService> service = std::make_shared<FakeEchoService>();

private:
    std::optional<System::Rsc::RscRegistration> registration;
};

} // namespace Oxa::Tests
