#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"
#include "Oxa/System/Rsc/Internal/EndpointAvailability.hpp"
#include "Oxa/System/Rsc/Internal/EndpointConnector.hpp"
#include "Oxa/System/Rsc/Internal/EndpointSignal.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <chrono>
#include <memory>

namespace Oxa::System::Rsc::Internal
{

struct ClientRequest;
class ProviderRuns;

/// The other process that provides the services of one provider, or will: calls it, and tells the listeners when the
/// process or a service is lost, before any thread connects to the next process. Shared by the endpoint table and the
/// remote services. Threads: safe from any thread; calls do not wait for each other's answers.
class Endpoint final
{
public:
    using Connection = EndpointConnector::Connection;

    /// Throws ArgumentException when the provider's name cannot be a path. Borrows the listeners.
    Endpoint(RscEndpointConfiguration configuration, ProviderRuns& listeners);
    Endpoint(const Endpoint&) = delete;
    Endpoint& operator=(const Endpoint&) = delete;
    ~Endpoint();

    /// As RscRemoteService's.
    void Call(const BasicString& interfaceName, const RscOperation& operation,
              const RscRemoteService::WriteFunction& writeArguments, const RscRemoteService::ReadFunction& readResults);
    [[nodiscard]] bool IsProvided(const BasicString& interfaceName) noexcept;

    /// The service is one that this process uses: the watch looks for it when it is not there.
    void NoteRequired(const BasicString& interfaceName);

    /// Ends the connection for good. Calls fail from now on.
    void Close();

    [[nodiscard]] const BasicString& GetProviderName() const noexcept;

    // For the watch.

    /// Wakes the watch when the connection changes or services become unavailable.
    [[nodiscard]] EndpointSignal& GetSignal() noexcept;
    /// Null when there is none.
    [[nodiscard]] Connection TryGetConnection() const;
    /// For a connection whose other end hung up.
    void NoteHangUp(const Connection& hungUp);
    /// Whether a required service is not there.
    [[nodiscard]] bool IsUnavailable() const;
    /// Asks for the required services that are not there. True when this was news: see
    /// EndpointAvailability::TryEndRecovery.
    [[nodiscard]] bool TryRecover();

private:
    [[nodiscard]] Connection AcquireFor(const ClientRequest& request, CallDeadline deadline);
    void ExchangeOn(const Connection& connection, const ClientRequest& request, CallDeadline deadline,
                    const RscRemoteService::WriteFunction& writeArguments,
                    const RscRemoteService::ReadFunction& readResults);
    enum class Presence
    {
        Found,
        /// The process says that it does not provide the service.
        Absent,
        Unreachable
    };

    [[nodiscard]] Presence Probe(const BasicString& interfaceName, std::chrono::milliseconds timeout) noexcept;
    void AskForProperties(const BasicString& interfaceName, std::chrono::milliseconds timeout);
    void ReportLost(const Connection& lost);
    void ReportAbsent(const BasicString& interfaceName);

    const RscEndpointConfiguration configuration;
    const BasicString objectPath;
    /// Of the other process, for messages.
    const BasicString place;
    ProviderRuns& listeners;
    EndpointSignal signal;
    EndpointConnector connector;
    EndpointAvailability availability;
};

} // namespace Oxa::System::Rsc::Internal
