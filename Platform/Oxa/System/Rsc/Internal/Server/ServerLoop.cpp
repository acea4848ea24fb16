// One thread of the team runs the loop at a time, and only that one touches the members, except `executing`. A call is
// executed inside a blocking section: when it takes long, another thread of the team continues the loop meanwhile.

#include "Oxa/System/Rsc/Internal/Server/ServerLoop.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"

#include <sys/socket.h>
#include <systemd/sd-id128.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace Oxa::System::Rsc
{

namespace Internal
{

using System::Commons::FileDescriptor;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Threading::LeaderTeam;
using Clock = std::chrono::steady_clock;

namespace
{

constexpr unsigned maximumThreads = 32;
/// After the process or the system had no descriptor left for a connection.
constexpr std::chrono::seconds acceptPause{1};
constexpr std::size_t descriptorsBeforeSockets = 1;

struct Decrement
{
    std::atomic<unsigned>& counter;

    ~Decrement()
    {
        --counter;
    }
};

/// Throws InvalidOperationException.
BusHandle MakePeerBus(FileDescriptor descriptor)
{
    constexpr const char* failure = "cannot serve the connection";
    sd_id128_t id = {};
    BusHandle bus = MakeBus();
    RequireSuccess(sd_bus_set_fd(bus.get(), descriptor.Get(), descriptor.Get()), failure);
    static_cast<void>(descriptor.Release());
    RequireSuccess(sd_id128_randomize(&id), failure);
    RequireSuccess(sd_bus_set_server(bus.get(), 1, id), failure);
    RequireSuccess(sd_bus_start(bus.get()), failure);
    return bus;
}

} // namespace

ServerLoop::ServerLoop(const RscServerConfiguration& configuration, FileDescriptor listeningSocket)
    : users(configuration.users),
      maximumConnections(configuration.maximumConnections),
      acceptBackoff(acceptPause, acceptPause),
      team(*this)
{
    if (listeningSocket.IsOpen())
    {
        sockets.push_back(std::make_unique<ServerSocket>(std::move(listeningSocket)));
    }
    if (!configuration.socketPath.empty())
    {
        sockets.push_back(std::make_unique<ServerSocket>(configuration.socketPath));
    }
    ServiceTable::GetInstance().AddListener(*this);
    runner = std::thread([this] { team.Run(maximumThreads); });
}

ServerLoop::~ServerLoop()
{
    ServiceTable::GetInstance().RemoveListener(*this);
    team.Stop();
    runner.join();
    for (const auto& connection : connections)
    {
        connection->Close();
    }
}

void ServerLoop::RunOne()
{
    // The last thread executes no call: it must remain free to refuse calls that are too many.
    if (!calls.empty() && executing < maximumThreads - 1)
    {
        ExecuteNextCall();
        return;
    }
    WaitForEvents();
    ProcessConnections();
    AcceptConnections();
}

void ServerLoop::Wake()
{
    wakeUp.Set();
}

void ServerLoop::OnEpochChanged(const BasicString& /*providerName*/) noexcept
{
    wakeUp.Set();
}

void ServerLoop::ExecuteNextCall()
{
    ServerConnection::Call call = std::move(calls.front());
    calls.pop_front();
    ++executing;
    const LeaderTeam::BlockingSection section(team);
    // Destroyed before the section ends: the counter must be down when another thread takes over the loop, because
    // nothing wakes that thread when the counter changes.
    const Decrement decrement{executing};
    ServerConnection::Execute(std::move(call));
}

void ServerLoop::WaitForEvents()
{
    auto deadline = TimePoint::max();
    descriptors.assign(1, {wakeUp.GetDescriptor(), POLLIN, 0});
    const bool isAccepting = acceptBackoff.IsDue(Clock::now());
    for (const auto& socket : sockets)
    {
        descriptors.push_back({isAccepting ? socket->GetDescriptor() : -1, POLLIN, 0});
    }
    if (!isAccepting)
    {
        deadline = acceptBackoff.GetNext();
    }
    for (const auto& connection : connections)
    {
        descriptors.push_back(connection->GetPoll());
        deadline = std::min(deadline, connection->GetDeadline());
    }
    if (poll(descriptors.data(), descriptors.size(), deadline == TimePoint::max() ? -1 : GetPollTimeout(deadline)) < 0)
    {
        for (pollfd& descriptor : descriptors)
        {
            descriptor.revents = 0;
        }
    }
    if (descriptors.front().revents != 0)
    {
        wakeUp.Clear();
    }
}

void ServerLoop::ProcessConnections()
{
    const auto now = Clock::now();
    const pollfd* descriptor = descriptors.data() + descriptorsBeforeSockets + sockets.size();
    std::erase_if(connections,
                  [this, now, &descriptor](const std::shared_ptr<ServerConnection>& connection)
                  {
                      const bool isDue = (descriptor++)->revents != 0 || connection->GetDeadline() <= now;
                      if (!(isDue || connection->IsWithdrawn()) || connection->Process(now))
                      {
                          return false;
                      }
                      const BasicString failure = connection->GetFailure();
                      if (!failure.empty())
                      {
                          LogEnd(connection->GetPeer(), failure);
                      }
                      connection->Close();
                      return true;
                  });
}

void ServerLoop::AcceptConnections()
{
    for (std::size_t index = 0; index < sockets.size(); ++index)
    {
        if (descriptors[descriptorsBeforeSockets + index].revents == 0)
        {
            continue;
        }
        try
        {
            acceptBackoff.Reset();
            if (auto accepted = sockets[index]->TryAccept())
            {
                Accept(std::move(*accepted));
            }
        }
        catch (const std::exception& exception)
        {
            acceptBackoff.Delay(Clock::now());
            if (endings.Admits())
            {
                Log(LogLevel::Error, "{0}", exception.what());
            }
        }
    }
}

void ServerLoop::Accept(FileDescriptor descriptor)
{
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(descriptor.Get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
    {
        return;
    }
    const ServerConnection::Peer peer{credentials.uid, credentials.pid};
    if (!users.MayCall(peer.userId))
    {
        users.LogRefusedUser(peer.userId);
        return;
    }
    try
    {
        if (connections.size() >= maximumConnections)
        {
            throw System::Commons::InvalidOperationException::Create("there are {0} connections already",
                                                                     connections.size());
        }
        connections.push_back(std::make_shared<ServerConnection>(
            ServerConnection::Shared{users, calls}, MakePeerBus(std::move(descriptor)), peer, Clock::now()));
    }
    catch (const std::exception& exception)
    {
        // The first bytes may already be no handshake. Other connections are still accepted.
        LogEnd(peer, exception.what());
    }
}

void ServerLoop::LogEnd(const ServerConnection::Peer& peer, const BasicString& cause)
{
    if (endings.Admits())
    {
        Log(LogLevel::Warning, "the connection of the user {0}, process {1}, is closed: {2}", DescribeUser(peer.userId),
            peer.processId, cause);
    }
}

} // namespace Internal

RscServer::RscServer(const RscServerConfiguration& configuration, System::Commons::FileDescriptor listeningSocket)
    : loop(std::make_unique<Internal::ServerLoop>(configuration, std::move(listeningSocket)))
{
}

RscServer::~RscServer() = default;

} // namespace Oxa::System::Rsc
