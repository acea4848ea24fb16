#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/RscOperation.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <memory>
#include <span>

namespace Oxa::System::Rsc
{

class IRscService;
class RscRemoteService;

/// Knows one service interface and makes proxies for it. Safe from any thread.
class OXA_EXPORT IRscServiceProxyFactory
{
public:
    virtual ~IRscServiceProxyFactory();

    /// The fully qualified name of the interface. Never null.
    [[nodiscard]] virtual const char* GetServiceInterfaceName() const = 0;

    /// The text under which the service is provided. Never null; empty when the interface has no provider of its own.
    [[nodiscard]] virtual const char* GetServiceProviderName() const = 0;

    /// A new proxy, owned by the caller, that calls whatever implementation the slot holds at that moment.
    [[nodiscard]] virtual IRscService* CreateProxy(std::shared_ptr<RscServiceSlot> slot) = 0;

    /// The operations that other processes can call. Empty, unless an interface says otherwise: the service stays in
    /// its own process.
    [[nodiscard]] virtual std::span<const RscOperation> GetOperations() const noexcept;

    /// An implementation of the interface that calls the service in another process. Null, unless an interface says
    /// otherwise. Requires: `service` is not null.
    [[nodiscard]] virtual std::shared_ptr<IRscService> CreateRemote(std::shared_ptr<RscRemoteService> service);
};

} // namespace Oxa::System::Rsc
