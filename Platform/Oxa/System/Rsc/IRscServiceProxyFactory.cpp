#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"

namespace Oxa::System::Rsc
{

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

} // namespace Oxa::System::Rsc
