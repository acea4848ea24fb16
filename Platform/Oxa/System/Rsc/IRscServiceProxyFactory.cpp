#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::System::Rsc
{

IRscService::~IRscService() = default;

IRscServiceProxyFactory::~IRscServiceProxyFactory() = default;

std::span<const RscOperation> IRscServiceProxyFactory::GetOperations() const noexcept
{
    return {};
}

// Those who override it keep what they are given.
std::shared_ptr<IRscService> IRscServiceProxyFactory::CreateRemote(
    std::shared_ptr<RscRemoteService> /*service*/) // NOLINT(performance-unnecessary-value-param)
{
    return nullptr;
}

RscServiceProxyFactory::~RscServiceProxyFactory() = default;

const char* RscServiceProxyFactory::GetServiceInterfaceName() const
{
    return interfaceName;
}

const char* RscServiceProxyFactory::GetServiceProviderName() const
{
    return providerName;
}

IRscService* RscServiceProxyFactory::CreateProxy(std::shared_ptr<RscServiceSlot> slot)
{
    return createProxy(std::move(slot));
}

std::span<const RscOperation> RscServiceProxyFactory::GetOperations() const noexcept
{
    return operations;
}

std::shared_ptr<IRscService> RscServiceProxyFactory::CreateRemote(std::shared_ptr<RscRemoteService> service)
{
    return createRemote == nullptr ? nullptr : createRemote(std::move(service));
}

} // namespace Oxa::System::Rsc
