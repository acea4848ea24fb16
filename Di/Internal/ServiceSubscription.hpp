#pragma once

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/InvalidCastException.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/IRscService.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <memory>

namespace Oxa::Services::Modules::Wbm::Di::Internal
{

/// Asks the service manager for a service and puts its proxy into `member`. False when the service cannot be had;
/// `member` then keeps what it held. Throws ArgumentException when the service has no provider name,
/// InvalidCastException when the proxy is of another interface.
template <class TService>
[[nodiscard]] bool TryGetService(System::Rsc::IRscServiceProxyFactory& factory, std::shared_ptr<TService>& member)
{
    const BasicString providerName = factory.GetServiceProviderName();
    if (providerName.empty())
    {
        throw System::Commons::ArgumentException::Create("TService", factory.GetServiceInterfaceName(),
                                                         "Service does not specify a service provider");
    }
    System::Rsc::IRscService* const proxy = System::Rsc::ServiceManager::GetService(providerName.c_str(), factory);
    if (proxy == nullptr)
    {
        return false;
    }
    auto* const service = dynamic_cast<TService*>(proxy);
    if (service == nullptr)
    {
        // The proxy is left alone on purpose: of an object that is not what its factory promised, nobody knows whether
        // it may be deleted.
        throw System::Commons::InvalidCastException::Create("The service does not implement service interface '{0}'.",
                                                            factory.GetServiceInterfaceName());
    }
    member = std::shared_ptr<TService>(service);
    return true;
}

} // namespace Oxa::Services::Modules::Wbm::Di::Internal
