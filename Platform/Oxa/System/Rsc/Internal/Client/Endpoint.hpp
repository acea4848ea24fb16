#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Client/ClientConnection.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <chrono>
#include <list>
#include <optional>
#include <thread>

namespace Oxa::System::Rsc::Internal
{

class ServiceTable;

/// The provider of services in another process: connected to one run of it, or not. A thread of its own, the watch,
/// keeps a connection on which it learns the run and notices its end; each call takes another connection to the same
/// run out of a pool. Shared by the service manager and the remote services. Threads: safe from any thread; calls do
/// not wait for each other's responses.
class Endpoint final : private System::Commons::Diagnostics::Logging::Loggable<Endpoint>
{
public:
    /// Nothing is connected yet. Borrows `services`. Throws ArgumentException when the provider's name cannot be a
    /// path, std::system_error when the system is short of threads.
    Endpoint(RscEndpointConfiguration configuration, ServiceTable& services);
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;
    ~Endpoint();

    /// As RscRemoteService's.
    void Call(const BasicString& interfaceName, const RscOperation& operation,
              const RscRemoteService::WriteFunction& writeArguments, const RscRemoteService::ReadFunction& readResults);

    /// Whether the endpoint is connected to a process that provides the service. The first call makes the watch connect
    /// and waits for that, at most as long as the deadline for reads.
    [[nodiscard]] bool IsProvided(const BasicString& interfaceName);

    /// Ends all connections and the watch for good. Calls fail from now on. Requires: the caller is not the watch.
    void Close();

    [[nodiscard]] const BasicString& GetProviderName() const noexcept
    {
        return configuration.providerName;
    }

private:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Connections = std::list<ClientConnection>;

    class Lease;

    void CallOnce(const BasicString& interfaceName, const RscOperation& operation, TimePoint deadline,
                  const RscRemoteService::WriteFunction& writeArguments,
                  const RscRemoteService::ReadFunction& readResults);

    void Watch() noexcept;
    [[nodiscard]] bool WaitUntil(TimePoint time);
    void HoldRun();
    [[nodiscard]] ClientConnection& BeginAttempt();
    void Begin(OfferedRun offered);
    void NoteFailedAttempt(const BasicString& failure);
    void Lose(const BasicString& newCause) OXA_REQUIRES(mutex);

    const RscEndpointConfiguration configuration;
    const BasicString objectPath;
    ServiceTable& services;

    System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    Connections idle OXA_GUARDED_BY(mutex);
    Connections used OXA_GUARDED_BY(mutex);
    /// Emplaced and reset by the watch, which uses it in between without the mutex.
    std::optional<ClientConnection> watched OXA_GUARDED_BY(mutex);
    bool isConnected OXA_GUARDED_BY(mutex) = false;
    /// The last one while the endpoint is not connected.
    OfferedRun run OXA_GUARDED_BY(mutex);
    /// Counts the runs, so that a call can tell whether its connection belongs to the present one.
    uint64 runNumber OXA_GUARDED_BY(mutex) = 0;
    TimePoint lastResponse OXA_GUARDED_BY(mutex);
    /// Why the endpoint is not connected.
    BasicString cause OXA_GUARDED_BY(mutex) = "not connected yet";
    bool isWanted OXA_GUARDED_BY(mutex) = false;
    /// The first attempt to connect is over.
    bool isTried OXA_GUARDED_BY(mutex) = false;
    bool isClosed OXA_GUARDED_BY(mutex) = false;

    /// Of the watch: why the services are not available, as it was logged.
    BasicString loggedCause;
    std::thread watch;
};

} // namespace Oxa::System::Rsc::Internal
