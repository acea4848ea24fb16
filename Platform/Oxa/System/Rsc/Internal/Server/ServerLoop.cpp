#include "Oxa/System/Rsc/Internal/Server/ServerLoop.hpp"

#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"

#include <sys/socket.h>
#include <systemd/sd-id128.h>

#include <exception>
#include <limits>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::FileDescriptor;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Threading::LeaderTeam;

namespace
{

constexpr unsigned maximumThreads = 32;
constexpr std::chrono::seconds acceptPause{1};
constexpr std::size_t descriptorsBeforeSockets = 1;

/// Counts down when it goes.
class Decrement final
{
public:
    explicit Decrement(std::atomic<unsigned>& counter) noexcept : counter(counter) {}

    Decrement(const Decrement&) = delete;
    Decrement& operator=(const Decrement&) = delete;

    ~Decrement()
    {
        --counter;
    }

private:
    std::atomic<unsigned>& counter;
};

} // namespace

ServerLoop::ServerLoop(const RscServerConfiguration& configuration, FileDescriptor listeningSocket)
    : users(configuration.users), maximumConnections(configuration.maximumConnections), team(*this)
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
    // The last thread carries out no call: it has to stay free to refuse calls that are too many.
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
    ServerCall call = std::move(calls.front());
    calls.pop_front();
    ++executing;
    {
        const LeaderTeam::BlockingSection foreign(team);
        // Destroyed before `foreign`: the counter must be down when another thread takes over the loop, because nothing
        // wakes that thread when the counter changes.
        const Decrement decrement(executing);
        call.Execute();
    }
}

void ServerLoop::WaitForEvents()
{
    descriptors.clear();
    descriptors.push_back({wakeUp.GetDescriptor(), POLLIN, 0});
    const bool accepts = nextAccept == TimePoint() || std::chrono::steady_clock::now() >= nextAccept;
    for (const auto& socket : sockets)
    {
        descriptors.push_back({accepts ? socket->GetDescriptor() : -1, POLLIN, 0});
    }
    for (const auto& connection : connections)
    {
        descriptors.push_back(connection->GetPoll());
    }
    if (poll(descriptors.data(), descriptors.size(), GetTimeout()) <= 0)
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

int ServerLoop::GetTimeout() const
{
    std::optional<TimePoint> next;
    const auto consider = [&next](std::optional<TimePoint> time)
    {
        if (time && (!next || *time < *next))
        {
            next = time;
        }
    };
    for (const auto& connection : connections)
    {
        consider(connection->GetDeadline());
    }
    if (nextAccept != TimePoint())
    {
        consider(nextAccept);
    }
    if (!next)
    {
        return -1;
    }
    return GetPollTimeout(*next);
}

void ServerLoop::ProcessConnections()
{
    const auto isDue = [now = std::chrono::steady_clock::now()](const pollfd& descriptor, const auto& deadline)
    {
        return descriptor.revents != 0 || (deadline && *deadline <= now);
    };
    const pollfd* descriptor = descriptors.data() + descriptorsBeforeSockets + sockets.size();
    std::erase_if(connections,
                  [this, &descriptor, &isDue](const std::shared_ptr<ServerConnection>& connection)
                  {
                      const bool isReady = isDue(*descriptor++, connection->GetDeadline());
                      if (!(isReady || connection->IsWithdrawn()) ||
                          connection->Process() != ServerConnection::Stage::Ended)
                      {
                          return false;
                      }
                      LogEnd(*connection);
                      connection->Close();
                      return true;
                  });
}

void ServerLoop::LogEnd(const ServerConnection& connection)
{
    if (connection.GetEndCause() == ServerConnection::EndCause::ClosedByServer && endings.Admits())
    {
        Log(LogLevel::Warning, "the connection of the user {0}, process {1}, is closed: {2}",
            DescribeUser(connection.GetPeer().userId), connection.GetPeer().processId, connection.GetFailure());
    }
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
            nextAccept = TimePoint();
            if (auto accepted = sockets[index]->TryAccept())
            {
                Accept(std::move(*accepted));
            }
        }
        catch (const std::exception& exception)
        {
            nextAccept = std::chrono::steady_clock::now() + acceptPause;
            if (endings.Admits())
            {
                Log(LogLevel::Error, "{0}", exception.what());
            }
        }
    }
}

void ServerLoop::Accept(FileDescriptor descriptor)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (getsockopt(descriptor.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
    {
        return;
    }
    if (!users.MayCall(peer.uid))
    {
        users.LogStranger(peer.uid);
        return;
    }
    if (connections.size() >= maximumConnections)
    {
        if (endings.Admits())
        {
            Log(LogLevel::Warning, "a connection of the user {0}, process {1}, is refused: there are {2} already",
                DescribeUser(peer.uid), peer.pid, connections.size());
        }
        return;
    }
    try
    {
        connections.push_back(std::make_shared<ServerConnection>(ServerConnection::Shared{users, calls},
                                                                 MakePeerBus(std::move(descriptor)),
                                                                 ServerConnection::Peer{peer.uid, peer.pid}));
    }
    catch (const std::exception& exception)
    {
        // Already the first bytes may be none of a handshake. No reason to let others wait.
        if (endings.Admits())
        {
            Log(LogLevel::Warning, "the connection of the user {0}, process {1}, is closed: {2}",
                DescribeUser(peer.uid), peer.pid, exception.what());
        }
    }
}

BusHandle ServerLoop::MakePeerBus(FileDescriptor descriptor)
{
    constexpr const char* failure = "cannot serve a connection";
    sd_id128_t id = {};
    BusHandle bus = MakeBus();
    RequireSuccess(sd_bus_set_fd(bus.get(), descriptor.Get(), descriptor.Get()), failure);
    static_cast<void>(descriptor.Release());
    RequireSuccess(sd_id128_randomize(&id), failure);
    RequireSuccess(sd_bus_set_server(bus.get(), 1, id), failure);
    RequireSuccess(sd_bus_start(bus.get()), failure);
    return bus;
}

} // namespace Oxa::System::Rsc::Internal
