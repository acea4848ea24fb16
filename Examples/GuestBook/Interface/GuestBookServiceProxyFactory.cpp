#include "GuestBookServiceProxyFactory.hpp"

#include "IGuestBookService.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <utility>

namespace GuestBook
{

using Oxa::BasicString;
using namespace Oxa::System::Rsc;

IGuestBookService::~IGuestBookService() = default;

namespace
{

/// Calls the service wherever it is to be had at that moment.
class GuestBookServiceProxy final : public IGuestBookService
{
public:
    explicit GuestBookServiceProxy(std::shared_ptr<RscServiceSlot> slot) : slot(std::move(slot)) {}

    void Sign(const BasicString& guest) override
    {
        slot->Acquire<IGuestBookService>()->Sign(guest);
    }

    [[nodiscard]] std::vector<BasicString> ReadEntries() override
    {
        return slot->Acquire<IGuestBookService>()->ReadEntries();
    }

private:
    std::shared_ptr<RscServiceSlot> slot;
};

// In the process that provides the service.

void InvokeSign(IRscService& service, RscMessageReader& arguments, RscMessageWriter& /*results*/)
{
    dynamic_cast<IGuestBookService&>(service).Sign(BasicString(arguments.ReadText()));
}

void InvokeReadEntries(IRscService& service, RscMessageReader& /*arguments*/, RscMessageWriter& results)
{
    results.BeginArray("s");
    for (const BasicString& entry : dynamic_cast<IGuestBookService&>(service).ReadEntries())
    {
        results.WriteText(entry);
    }
    results.EndArray();
}

constexpr RscOperation operations[] = {
    {"Sign", RscOperationKind::Command, "s", "", &InvokeSign},
    {"ReadEntries", RscOperationKind::Read, "", "as", &InvokeReadEntries},
};

/// In every other process: the service as a call over there.
class RemoteGuestBookService final : public IGuestBookService
{
public:
    explicit RemoteGuestBookService(std::shared_ptr<RscRemoteService> service) : service(std::move(service)) {}

    void Sign(const BasicString& guest) override
    {
        service->Call(
            operations[0], [&guest](RscMessageWriter& arguments) { arguments.WriteText(guest); },
            [](RscMessageReader&) {});
    }

    [[nodiscard]] std::vector<BasicString> ReadEntries() override
    {
        std::vector<BasicString> entries;
        service->Call(
            operations[1], [](RscMessageWriter&) {},
            [&entries](RscMessageReader& results)
            {
                results.EnterArray("s");
                while (!results.TryLeaveArray())
                {
                    entries.emplace_back(results.ReadText());
                }
            });
        return entries;
    }

private:
    const std::shared_ptr<RscRemoteService> service;
};

} // namespace

GuestBookServiceProxyFactory::GuestBookServiceProxyFactory() = default;

GuestBookServiceProxyFactory::~GuestBookServiceProxyFactory() = default;

GuestBookServiceProxyFactory& GuestBookServiceProxyFactory::GetInstance()
{
    static GuestBookServiceProxyFactory instance;
    return instance;
}

const char* GuestBookServiceProxyFactory::GetServiceInterfaceName() const
{
    return "GuestBook::IGuestBookService";
}

const char* GuestBookServiceProxyFactory::GetServiceProviderName() const
{
    return "Example.GuestBook";
}

IRscService* GuestBookServiceProxyFactory::CreateProxy(std::shared_ptr<RscServiceSlot> slot)
{
    return new GuestBookServiceProxy(std::move(slot));
}

std::span<const RscOperation> GuestBookServiceProxyFactory::GetOperations() const noexcept
{
    return operations;
}

std::shared_ptr<IRscService> GuestBookServiceProxyFactory::CreateRemote(std::shared_ptr<RscRemoteService> service)
{
    return std::make_shared<RemoteGuestBookService>(std::move(service));
}

} // namespace GuestBook
