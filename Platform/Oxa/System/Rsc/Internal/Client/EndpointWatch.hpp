#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/RscEndpointConfiguration.hpp"

#include <poll.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace Oxa::System::Commons::Threading
{
class WakeEvent;
}

namespace Oxa::System::Rsc::Internal
{

class Endpoint;
class ProviderRuns;

/// The endpoints of this process, and the thread that keeps them connected: notices when a connection is lost or hangs
/// up, and connects again, at once and then with growing pauses. Sleeps while everything is connected. It alone changes
/// and reports the runs of providers in other processes; only `End` of a run comes from the thread that notices the
/// loss. Owned by the service manager. Threads: safe from any thread.
class EndpointWatch final : private System::Commons::Diagnostics::Logging::Loggable<EndpointWatch>
{
public:
    /// Borrows `runs`. Throws ArgumentException when a provider's name cannot be a path or is there twice,
    /// InvalidOperationException or std::system_error when the system is short of descriptors or threads.
    EndpointWatch(const std::vector<RscEndpointConfiguration>& configurations, ProviderRuns& runs);
    EndpointWatch(const EndpointWatch&) = delete;
    EndpointWatch& operator=(const EndpointWatch&) = delete;
    /// Ends the connections. Requires: the caller is not the watch's thread.
    ~EndpointWatch();

    /// Null when none is configured for the provider.
    [[nodiscard]] std::shared_ptr<Endpoint> TryFind(const BasicString& providerName) const;

private:
    class Watched;

    void Run() noexcept;
    void RunOnce();

    ProviderRuns& runs;
    const std::shared_ptr<System::Commons::Threading::WakeEvent> wake;
    std::vector<std::unique_ptr<Watched>> watched;
    std::atomic<bool> isStopping = false;
    /// Only the thread's.
    std::vector<pollfd> descriptors;
    std::thread thread;
};

} // namespace Oxa::System::Rsc::Internal
