#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <set>

namespace Oxa::System::Rsc::Internal
{

struct ClientRequest;
class ServiceListeners;
class WakeSignal;

/// The other process that provides the services of one provider, or will: connects to it when it is called, and again
/// after the connection was lost; after three failures in a row at most twice a second. Tells the listeners when the
/// process or a service is lost, before any thread connects to the next process. Shared by the endpoint table and the
/// remote services. Threads: safe from any thread; calls do not wait for each other's answers.
class Endpoint final
{
public:
    /// Throws ArgumentException when the provider's name cannot be a path. Borrows the listeners.
    Endpoint(RscEndpointConfiguration configuration, ServiceListeners& listeners);
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;
    ~Endpoint();

    /// As RscRemoteService's.
    void Call(const BasicString& interfaceName, const RscOperation& operation,
              const RscRemoteService::WriteFunction& writeArguments, const RscRemoteService::ReadFunction& readResults);
    [[nodiscard]] bool IsProvided(const BasicString& interfaceName) noexcept;

    /// From now on the service counts when the provider's services are looked for.
    void NoteWanted(const BasicString& interfaceName);

    /// Ends the connection for good. Calls fail from now on.
    void Close();

    [[nodiscard]] const BasicString& GetProviderName() const noexcept;

    // For the watch.

    /// Woken when the connection changes or services are away.
    void SetWakeSignal(std::shared_ptr<WakeSignal> newSignal);
    /// Unless there is another one by now.
    void ForgetWakeSignal(const std::shared_ptr<WakeSignal>& oldSignal);
    /// Whether the other process is reached through a message bus, which does not say when that process ends.
    [[nodiscard]] bool IsOnBus() const noexcept;
    /// Notices a loss when the process at the other end of the connection is gone.
    void LookAtOwner();
    /// Null when there is none.
    [[nodiscard]] std::shared_ptr<ClientConnection> TryGetConnection() const;
    /// For a connection whose other end hung up.
    void NoteHangUp(const std::shared_ptr<ClientConnection>& hungUp);
    /// Whether a service was lost or looked for in vain, and not found since.
    [[nodiscard]] bool IsAway() const;
    /// Looks for all wanted services. True when they are there, and have not been lost meanwhile.
    [[nodiscard]] bool TryFindAway();

private:
    using Connection = std::shared_ptr<ClientConnection>;

    [[nodiscard]] Connection AcquireConnection(CallDeadline deadline);
    [[nodiscard]] Connection Reconnect(std::unique_lock<System::Commons::Mutex>& lock, CallDeadline deadline);
    /// Requires: the lock is held.
    void NoteFailure(const std::exception_ptr& failure);
    [[nodiscard]] Connection Connect(CallDeadline deadline) const;
    [[nodiscard]] BasicString FindOwner(ClientConnection& bus, CallDeadline deadline) const;
    [[nodiscard]] Connection AcquireFor(const ClientRequest& request, CallDeadline deadline);
    void ExchangeOn(const Connection& over, const ClientRequest& request, CallDeadline deadline,
                    const RscRemoteService::WriteFunction& writeArguments,
                    const RscRemoteService::ReadFunction& readResults);

    void NoteLost(const Connection& lost);
    void NoteMissing(const BasicString& interfaceName);
    void NoteAway();
    void NoteFound(const BasicString& interfaceName);
    void NoteSilence();
    [[nodiscard]] bool IsSilent() const;
    void Wake() const noexcept;

    const RscEndpointConfiguration configuration;
    const BasicString objectPath;
    /// Of the other process, for messages.
    const BasicString place;
    ServiceListeners& listeners;

    mutable System::Commons::Mutex mutex;
    std::condition_variable changed;
    Connection connection;
    bool isConnecting = false;
    bool isReporting = false;
    bool isClosed = false;
    unsigned failures = 0;
    CallClock::time_point lastAttempt;
    /// Why it failed.
    BasicString lastCause;
    RscFault lastFault = RscFault::NotAvailable;
    /// A process that did not answer is not asked for its other services until then.
    CallClock::time_point silentUntil;
    bool isAway = false;
    /// How often something was lost or looked for in vain.
    uint64 losses = 0;
    std::set<BasicString> wanted;
    /// Of which the process said that it does not provide them.
    std::set<BasicString> missing;
    std::shared_ptr<WakeSignal> signal;
};

} // namespace Oxa::System::Rsc::Internal
