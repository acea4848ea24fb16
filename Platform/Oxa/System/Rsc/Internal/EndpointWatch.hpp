#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <poll.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace Oxa::System::Commons::Threading
{
class WakeEvent;
}

namespace Oxa::System::Rsc::Internal
{

class ClientConnection;
class Endpoint;
class ProviderRuns;

/// A thread that notices when other processes go, while nobody calls them, and when they come. Sleeps while all is
/// well; asks for what is unavailable twice a
/// second. Owned by the endpoint table while somebody listens.
class EndpointWatch final : private System::Commons::Diagnostics::Logging::Loggable<EndpointWatch>
{
public:
    /// Borrows the listeners. Throws InvalidOperationException or std::system_error when the system is short of
    /// descriptors or threads.
    EndpointWatch(std::vector<std::shared_ptr<Endpoint>> endpoints, ProviderRuns& listeners);
    EndpointWatch(const EndpointWatch&) = delete;
    EndpointWatch& operator=(const EndpointWatch&) = delete;
    /// Waits for the thread. Requires: it is not the thread itself.
    ~EndpointWatch();

private:
    using Clock = std::chrono::steady_clock;

    void Run() noexcept;
    void RunOnce();
    void CollectConnections();
    void WaitForChange();
    void NoteHangUps();
    void ProbeUnavailable();
    [[nodiscard]] int GetTimeout() const;

    const std::vector<std::shared_ptr<Endpoint>> endpoints;
    ProviderRuns& listeners;
    const std::shared_ptr<System::Commons::Threading::WakeEvent> signal;
    std::atomic<bool> isStopping = false;

    // Only the thread's. The connections keep the descriptors open; null where there is none.
    std::vector<std::shared_ptr<ClientConnection>> connections;
    std::vector<pollfd> waiting;
    /// A connection has hung up, but calls still wait on it: they read what has come in before it is closed.
    bool isHangUpPending = false;
    Clock::time_point nextProbe;

    std::thread thread;
};

} // namespace Oxa::System::Rsc::Internal
