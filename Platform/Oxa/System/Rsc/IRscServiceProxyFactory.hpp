#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <memory>
#include <span>
#include <utility>

namespace Oxa::System::Rsc
{

/// What an operation does to the device: its deadline and who may call it depend on that.
enum class RscOperationKind : uint8
{
    Read,
    /// Changes something. Only users that the server's configuration names for commands may call it.
    Command
};

/// Takes the arguments off the message, calls the service, writes the results. What it throws is the response: platform
/// exceptions arrive at the caller as what they are. Called on several threads at once.
using RscInvokeFunction = void (*)(IRscService& service, RscMessageReader& arguments, RscMessageWriter& results);

/// How one operation of a service interface crosses to another process. Everything it points to lives as long as the
/// interface's library.
struct RscOperation
{
    /// As in the interface, for instance "ReadItem".
    const char* name;
    RscOperationKind kind;
    /// Of the arguments and of the results, one after the other, in the notation of D-Bus.
    const char* argumentsSignature;
    const char* resultsSignature;
    RscInvokeFunction invoke;
};

/// Knows one service interface and makes proxies for it. Safe from any thread.
class OXA_EXPORT IRscServiceProxyFactory
{
public:
    virtual ~IRscServiceProxyFactory();

    /// The fully qualified name of the interface. Never null.
    [[nodiscard]] virtual const char* GetServiceInterfaceName() const = 0;

    /// The text under which the service is provided. Never null; empty when the interface has no provider of its own.
    [[nodiscard]] virtual const char* GetServiceProviderName() const = 0;

    /// A new proxy, owned by the caller, that calls the implementation that the slot holds at the moment of the call.
    [[nodiscard]] virtual IRscService* CreateProxy(std::shared_ptr<RscServiceSlot> slot) = 0;

    /// The operations that other processes can call. Empty by default: the service stays in its own process.
    [[nodiscard]] virtual std::span<const RscOperation> GetOperations() const noexcept;

    /// An implementation of the interface that calls the service in another process. Null by default. Requires:
    /// `service` is not null.
    [[nodiscard]] virtual std::shared_ptr<IRscService> CreateRemote(std::shared_ptr<RscRemoteService> service);
};

/// A proxy factory that consists of names, operations and two classes: a proxy that is made from a slot, and the
/// implementation that is made from a remote service. Safe from any thread.
class OXA_EXPORT RscServiceProxyFactory : public IRscServiceProxyFactory
{
public:
    ~RscServiceProxyFactory() override;

    [[nodiscard]] const char* GetServiceInterfaceName() const final;
    [[nodiscard]] const char* GetServiceProviderName() const final;
    [[nodiscard]] IRscService* CreateProxy(std::shared_ptr<RscServiceSlot> slot) final;
    [[nodiscard]] std::span<const RscOperation> GetOperations() const noexcept final;
    [[nodiscard]] std::shared_ptr<IRscService> CreateRemote(std::shared_ptr<RscRemoteService> service) final;

protected:
    template <class... T>
    struct Classes
    {
    };

    template <class TProxy>
    RscServiceProxyFactory(const char* interfaceName, const char* providerName, Classes<TProxy> /*classes*/)
        : interfaceName(interfaceName), providerName(providerName), createProxy(&Create<TProxy>)
    {
    }

    template <class TProxy, class TRemote>
    RscServiceProxyFactory(const char* interfaceName, const char* providerName, Classes<TProxy, TRemote> /*classes*/,
                           std::span<const RscOperation> operations)
        : interfaceName(interfaceName),
          providerName(providerName),
          createProxy(&Create<TProxy>),
          operations(operations),
          createRemote(&MakeShared<TRemote>)
    {
    }

private:
    template <class TProxy>
    static IRscService* Create(std::shared_ptr<RscServiceSlot> slot)
    {
        return new TProxy(std::move(slot));
    }

    template <class TRemote>
    static std::shared_ptr<IRscService> MakeShared(std::shared_ptr<RscRemoteService> service)
    {
        return std::make_shared<TRemote>(std::move(service));
    }

    const char* const interfaceName;
    const char* const providerName;
    IRscService* (*const createProxy)(std::shared_ptr<RscServiceSlot> slot);
    const std::span<const RscOperation> operations = {};
    std::shared_ptr<IRscService> (*const createRemote)(std::shared_ptr<RscRemoteService> service) = nullptr;
};

/// The base of a proxy, whose target is an RscServiceSlot, and of an implementation that calls another process, whose
/// target is an RscRemoteService.
template <class TService, class TTarget>
class RscForwarder : public TService
{
public:
    explicit RscForwarder(std::shared_ptr<TTarget> target) : target(std::move(target)) {}

protected:
    const std::shared_ptr<TTarget> target;
};

} // namespace Oxa::System::Rsc
