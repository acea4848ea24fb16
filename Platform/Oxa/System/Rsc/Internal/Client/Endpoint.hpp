#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <memory>
#include <set>

namespace Oxa::System::Commons::Threading
{
class WakeEvent;
}

namespace Oxa::System::Rsc::Internal
{

class ClientConnection;
class ProviderRuns;

/// The provider of services in another process: connected to one run of it, or not. Only the watch connects; calls use
/// the connection that is there, or fail at once. Shared by the watch and the remote services. Threads: safe from any
/// thread; calls do not wait for each other's answers.
class Endpoint final
{
public:
    /// `wake` wakes the watch. Borrows `runs`. Throws ArgumentException when the provider's name cannot be a path.
    Endpoint(RscEndpointConfiguration configuration, std::shared_ptr<Commons::Threading::WakeEvent> wake,
             ProviderRuns& runs);
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;
    ~Endpoint();

    /// As RscRemoteService's.
    void Call(const BasicString& interfaceName, const RscOperation& operation,
              const RscRemoteService::WriteFunction& writeArguments, const RscRemoteService::ReadFunction& readResults);

    /// Whether the endpoint is connected to a process that provides the service. The first time waits, at most as long
    /// as the deadline for reads, until the watch has tried to connect.
    [[nodiscard]] bool IsProvided(const BasicString& interfaceName);

    /// Ends the connection for good. Calls fail from now on.
    void Close();

    [[nodiscard]] const RscEndpointConfiguration& GetConfiguration() const noexcept;

    // For the watch.

    /// Whether `IsProvided` was ever called: before, nothing is connected.
    [[nodiscard]] bool IsWanted() const;
    /// Null when the endpoint is not connected.
    [[nodiscard]] std::shared_ptr<ClientConnection> TryGetConnection() const;
    /// Begins the provider's run. `interfaceNames`: what the process provides, as D-Bus names it.
    void SetConnection(std::shared_ptr<ClientConnection> newConnection, const BasicString& bootId,
                       const BasicString& buildId, std::set<BasicString> interfaceNames);
    void SetDisconnected(const BasicString& newCause);

private:
    const RscEndpointConfiguration configuration;
    const BasicString objectPath;
    const std::shared_ptr<Commons::Threading::WakeEvent> wake;
    ProviderRuns& runs;

    mutable System::Commons::Mutex mutex;
    System::Commons::ConditionVariable changed;
    std::shared_ptr<ClientConnection> connection;
    std::set<BasicString> provided;
    /// Why the endpoint is not connected.
    BasicString cause;
    bool isWanted = false;
    /// The first attempt to connect is over.
    bool isTried = false;
    bool isClosed = false;
};

} // namespace Oxa::System::Rsc::Internal
