#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/LogRateLimiter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Threading/LeaderTeam.hpp"
#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerConnection.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerSocket.hpp"
#include "Oxa/System/Rsc/ServiceManager.hpp"

#include <poll.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// Waits for what comes in at the server's sockets, and carries out the calls one after the other.
/// While a call lasts, another thread takes over the loop, so that a slow service delays nobody else.
/// Owned by RscServer. Threads: made and destroyed on one; all else on the team's own threads.
class ServerLoop final : private System::Commons::Threading::ILeaderWork,
                         private IRscServiceListener,
                         private System::Commons::Diagnostics::Logging::Loggable<ServerLoop>
{
public:
    /// Throws InvalidOperationException, as RscServer does.
    ServerLoop(const RscServerConfiguration& configuration, System::Commons::FileDescriptor listeningSocket);
    ServerLoop(const ServerLoop&) = delete;
    ServerLoop& operator=(const ServerLoop&) = delete;
    ~ServerLoop() override;

private:
    using TimePoint = ServerConnection::TimePoint;

    void RunOne() override;
    void Wake() override;
    /// Services were taken back: their connections are to be closed.
    void OnEpochChanged(const BasicString& providerName) noexcept override;

    void ExecuteNextCall();
    void WaitForEvents();
    [[nodiscard]] int GetTimeout() const;
    void ProcessConnections();
    void LogEnd(const ServerConnection& connection);
    void AcceptConnections();
    void Accept(System::Commons::FileDescriptor descriptor);
    [[nodiscard]] static BusHandle MakePeerBus(System::Commons::FileDescriptor descriptor);

    ServerUsers users;
    System::Commons::Diagnostics::Logging::LogRateLimiter endings;
    const std::size_t maximumConnections;
    System::Commons::Threading::WakeEvent wakeUp;
    std::vector<std::unique_ptr<ServerSocket>> sockets;
    std::vector<std::shared_ptr<ServerConnection>> connections;

    /// Calls received, not yet executed. Declared after `connections`, so that they are destroyed first: a call holds
    /// messages of its connection's bus.
    std::deque<ServerCall> calls;
    std::atomic<unsigned> executing = 0;
    /// The wake-up, the sockets, the connections.
    std::vector<pollfd> descriptors;
    /// No connection is accepted before this time: there was no descriptor left for the last one.
    TimePoint nextAccept;

    System::Commons::Threading::LeaderTeam team;
    std::thread runner;
};

} // namespace Oxa::System::Rsc::Internal
