#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Rsc/Internal/ServerConnection.hpp"

#include <memory>
#include <optional>

namespace Oxa::System::Rsc::Internal
{

/// The server on a message bus under a well-known name: connects, and connects again when the bus went away.
/// Owned by the server's loop. Threads: one at a time.
class ServerBus final : private System::Commons::Diagnostics::Logging::Loggable<ServerBus>
{
public:
    using TimePoint = ServerConnection::TimePoint;

    /// Connects and waits until the name is owned, a few seconds at most. Throws InvalidOperationException with
    /// address, name and cause when that cannot be.
    ServerBus(const ServerConnection::Shared& shared, const RscServerConfiguration& configuration);
    ServerBus(const ServerBus&) = delete;
    ServerBus& operator=(const ServerBus&) = delete;
    ~ServerBus();

    /// Does what can be done without waiting.
    void Process();

    /// Not ready for anything while the bus is away.
    [[nodiscard]] pollfd GetPoll() const;
    [[nodiscard]] std::optional<TimePoint> GetDeadline() const noexcept;

private:
    void Connect();
    void WaitForName();
    void TryConnectAgain();
    void Lose(BasicString cause);
    [[noreturn]] void ThrowCannotServe(const BasicString& cause) const;

    const ServerConnection::Shared shared;
    const BasicString address;
    const BasicString name;
    /// Null while the bus is away.
    std::shared_ptr<ServerConnection> connection;
    TimePoint nextAttempt;
    /// The loss was logged, and the name has not been owned again since.
    bool isLost = false;
};

} // namespace Oxa::System::Rsc::Internal
