#pragma once

#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <chrono>
#include <set>

namespace Oxa::System::Rsc::Internal
{

/// The run of a provider, as its process reports it.
struct OfferedRun
{
    BasicString bootId;
    BasicString buildId;
    /// As D-Bus names them.
    std::set<BasicString> interfaceNames;
};

/// A connection to another process that carries one call at a time. Everything throws RscServiceException with the
/// cause alone; after TimedOut and ConnectionLost the connection is of no use any more. Owned by its endpoint. Threads:
/// one at a time; `Shutdown` and `HasHungUp` are safe from any thread.
class ClientConnection final
{
public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// Begins the handshake; the first exchange completes it. Throws NotAvailable.
    explicit ClientConnection(const BasicString& socketPath);
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;
    ~ClientConnection();

    /// Throws NotAvailable when the process does not provide the services, and as `Exchange` does.
    [[nodiscard]] OfferedRun ReadRun(const BasicString& providerName, Deadline deadline);

    /// An empty request. Throws Refused.
    [[nodiscard]] MessageHandle CreateRequest(const char* objectPath, const char* interfaceName, const char* operation);

    /// Sends the request and waits for its response, which may be an error of D-Bus. Throws Refused when the request
    /// was not sent, TimedOut, ConnectionLost.
    [[nodiscard]] MessageHandle Exchange(sd_bus_message& request, Deadline deadline);

    /// Returns when the other process or `Shutdown` has ended the connection.
    void WaitForHangUp() const noexcept;
    [[nodiscard]] bool HasHungUp() const noexcept;
    /// Ends the connection; an exchange in progress throws ConnectionLost.
    void Shutdown() noexcept;

private:
    [[nodiscard]] MessageHandle Process(Deadline deadline);
    void Wait(Deadline deadline) const;

    const BusHandle bus;
    int descriptor = -1;
};

} // namespace Oxa::System::Rsc::Internal
