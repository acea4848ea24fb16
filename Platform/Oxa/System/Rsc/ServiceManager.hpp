#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"
#include "Oxa/System/Rsc/RscRun.hpp"

#include <vector>

namespace Oxa::System::Rsc
{

class IRscService;
class IRscServiceListener;
class IRscServiceProxyFactory;

/// Brings the users and the providers of services together; RscRegistration provides them. Safe from any thread.
class OXA_EXPORT ServiceManager final
{
public:
    ServiceManager() = delete;

    /// A new proxy, owned by the caller; null when the service is not provided now. Looks in the own process first,
    /// then at the provider's endpoint; the first time waits until that is connected, at most as long as its deadline
    /// for reads. The proxy stays usable when the provider goes and comes back; meanwhile its calls throw
    /// RscServiceException.
    [[nodiscard]] static IRscService* GetService(const char* providerName, IRscServiceProxyFactory& factory);

    /// Says where the services of other processes are, one place for each provider. Nothing is connected before the
    /// first `GetService`; from then on a thread keeps the connection.
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
};

} // namespace Oxa::System::Rsc
