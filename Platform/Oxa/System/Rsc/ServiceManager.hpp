#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"
#include "Oxa/System/Rsc/RscRun.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace Oxa::System::Rsc
{

class IRscService;
class IRscServiceListener;
class IRscServiceProxyFactory;
class RscServiceSlot;

/// Brings the users and the providers of services together. Safe from any thread.
class OXA_EXPORT ServiceManager final
{
public:
    ServiceManager() = delete;

    /// A new proxy, owned by the caller; null when nobody provides the service. Looks in the own process first, then at
    /// the provider's endpoint: that takes no longer than its deadline for reads. The proxy stays usable when the
    /// provider goes and comes back; meanwhile its calls throw RscServiceException.
    [[nodiscard]] static IRscService* GetService(const char* providerName, IRscServiceProxyFactory& factory);

    /// Provides an implementation under the names that the interface's factory gives. Replaces an earlier one. The
    /// implementation's operations must be safe from several threads.
    static void RegisterService(IRscServiceProxyFactory& factory, std::shared_ptr<IRscService> implementation);

    /// Takes back whatever implementation is provided under these names now. Calls under way finish.
    static void UnregisterService(IRscServiceProxyFactory& factory);

    /// Says where the services of other processes are, one place for each provider. Nothing is connected yet. Once,
    /// before the first `GetService`.
    static void SetEndpoints(const std::vector<RscEndpointConfiguration>& configurations);

    /// Ends the connections to other processes and forgets where they are: for the end of a process, and for tests.
    static void ResetEndpoints();

    /// The run that the provider's services belong to now, in this process or in the one that it is connected to; 0
    /// while they are not there. Never waits. It becomes 0 before calls under way fail and before another run can be
    /// reached: when it is the same and not 0 before and after several calls, one run answered all of them.
    [[nodiscard]] static uint64 GetEpoch(const BasicString& providerName) noexcept;
    /// The same with the run's identity.
    [[nodiscard]] static RscRun GetRun(const BasicString& providerName);

    /// From now on tells the listener when services go and come. Borrowed until `RemoveListener` has returned.
    static void AddListener(IRscServiceListener& listener);
    static void RemoveListener(IRscServiceListener& listener);

    /// Calls `use` with every service that is or was registered in this process, under no lock. The factory lives as
    /// long as the interface's library.
    static void ForEachRegistered(
        const std::function<void(IRscServiceProxyFactory& factory, const std::shared_ptr<RscServiceSlot>& slot)>& use);
};

} // namespace Oxa::System::Rsc
