#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>

namespace Oxa::System::Rsc::Internal
{

class ClientConnection;
class EndpointSignal;

/// The connection of an endpoint to the other process: makes it when it is needed, and again after it was lost; after
/// three failures in a row at most twice a second. Owned by the endpoint, whose configuration and signal it borrows:
/// wakes the watch when there is a new connection.
/// Threads: safe from any thread; those that need the connection while one of them makes it wait for that one.
class EndpointConnector final
{
public:
    using Connection = std::shared_ptr<ClientConnection>;

    EndpointConnector(const RscEndpointConfiguration& configuration, EndpointSignal& signal) noexcept;
    EndpointConnector(const EndpointConnector&) = delete;
    EndpointConnector& operator=(const EndpointConnector&) = delete;
    ~EndpointConnector();

    /// Never null. Throws RscServiceException with the cause alone, for a sentence of the caller's.
    [[nodiscard]] Connection Acquire(CallDeadline deadline);
    /// Null when there is no connection.
    [[nodiscard]] Connection TryGet() const;

    /// Gives a lost connection up. False when that was done already; else no connection can be acquired until
    /// `EndLoss`, so that the loss is reported before any thread reaches the next process.
    [[nodiscard]] bool BeginLoss(const Connection& lost);
    void EndLoss();

    /// Ends the connection for good. Nothing can be acquired from now on.
    void Close();

private:
    [[nodiscard]] Connection Reconnect(std::unique_lock<System::Commons::Mutex>& lock, CallDeadline deadline);
    [[nodiscard]] Connection Connect(CallDeadline deadline) const;

    // Require: the lock is held.
    void RequireOpen() const;
    void RequirePause(CallClock::time_point now) const;
    void NoteFailure(const std::exception_ptr& failure);

    const RscEndpointConfiguration& configuration;
    EndpointSignal& signal;

    mutable System::Commons::Mutex mutex;
    std::condition_variable changed;
    Connection connection;
    bool isConnecting = false;
    bool isReportingLoss = false;
    bool isClosed = false;
    /// Attempts in a row that failed, and connections in a row that were lost before an answer came.
    unsigned failures = 0;
    CallClock::time_point lastAttempt;
    /// Why the last attempt that failed did so.
    BasicString lastCause;
    RscFault lastFault = RscFault::NotAvailable;
};

} // namespace Oxa::System::Rsc::Internal
