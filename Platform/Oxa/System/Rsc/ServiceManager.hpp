#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <chrono>
#include <map>
#include <vector>

namespace Oxa::System::Rsc
{

class IRscService;
class IRscServiceProxyFactory;

/// Where the services of one provider are when this process does not provide them. A value type.
struct RscEndpointConfiguration
{
    BasicString providerName;
    /// Of a Unix socket.
    BasicString socketPath;
    std::chrono::milliseconds readTimeout{2000};
    std::chrono::milliseconds commandTimeout{10000};
};

/// The run of a device whose services a provider offers. A value type.
struct RscRun
{
    /// Never the same for two runs of any provider in the life of this process; 0: the services are not available now.
    uint64 epoch = 0;
    /// Another text after each restart of the device; empty when the provider has none.
    BasicString bootId;
    /// Another text when program or description of the device changed; empty when the provider has none.
    BasicString buildId;
};

/// Is told when the services of a provider become available or unavailable, in this process or in another one. Called
/// on the thread that notices it, under no lock; must return soon and call no service.
class OXA_EXPORT IRscServiceListener
{
public:
    virtual ~IRscServiceListener();

    /// `ServiceManager::GetEpoch` has changed: 0 after a loss. In the order of the changes for one provider; calls for
    /// different providers may come at the same time.
    virtual void OnEpochChanged(const BasicString& providerName) noexcept = 0;
};

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

    /// Sets where the services of other processes are, one endpoint for each provider. Nothing is connected before the
    /// first `GetService`; from then on a thread keeps the connection. Throws ArgumentException when a provider's name
    /// cannot be a path or is there twice.
    static void SetEndpoints(const std::vector<RscEndpointConfiguration>& configurations);

    /// Ends the connections to other processes and forgets where they are: for the end of a process, and for tests.
    static void ResetEndpoints();

    /// The run that the provider's services belong to now, in this process or in the one that it is connected to; 0
    /// while they are not available. Never waits. It becomes 0 before calls in progress fail and before another run can
    /// be reached: when it is the same and not 0 before and after several calls, all of them were calls to one run.
    [[nodiscard]] static uint64 GetEpoch(const BasicString& providerName) noexcept;
    /// The same with the run's identity.
    [[nodiscard]] static RscRun GetRun(const BasicString& providerName);

    /// From now on tells the listener when services become available or unavailable. Borrowed until `RemoveListener`
    /// has returned.
    static void AddListener(IRscServiceListener& listener);
    static void RemoveListener(IRscServiceListener& listener);
};

/// Records for which providers the thread that makes it asks the service manager, as long as it lives, and the epochs
/// of their services. A second one on the same thread records in its place until it is destroyed. Threads: the one that
/// makes it.
class OXA_EXPORT RscUsageRecorder final
{
public:
    RscUsageRecorder() noexcept;
    RscUsageRecorder(const RscUsageRecorder&) = delete;
    RscUsageRecorder& operator=(const RscUsageRecorder&) = delete;
    ~RscUsageRecorder();

    /// Each provider with its epoch when it was first asked for; 0: its services were not available.
    [[nodiscard]] const std::map<BasicString, uint64>& GetEpochs() const noexcept
    {
        return epochs;
    }

private:
    friend class ServiceManager;

    RscUsageRecorder* const outer;
    std::map<BasicString, uint64> epochs;
};

} // namespace Oxa::System::Rsc
