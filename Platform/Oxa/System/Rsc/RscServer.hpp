#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Commons/FileDescriptor.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <cstddef>
#include <memory>
#include <vector>

namespace Oxa::System::Rsc
{

namespace Internal
{
class ServerLoop;
}

/// A user who may call the services from another process.
struct RscServerUser
{
    /// A user of the system by name or id. One that the system does not know is logged and ignored.
    BasicString name;
    /// Also commands, not only reads.
    bool mayCommand = false;
};

/// Where a process offers its services to others, and to whom. A value type.
struct RscServerConfiguration
{
    /// Of a Unix socket; empty: none. A socket that is left over from another process is replaced.
    BasicString socketPath;
    /// Only these may connect.
    std::vector<RscServerUser> users;
    /// Each call in progress of a ServiceManager in another process takes one, and each of its endpoints one more.
    std::size_t maximumConnections = 32;
};

/// Offers to other processes what is registered at this process's ServiceManager, by the protocol of D-Bus, peer to
/// peer: a provider "A.B" is the object "/A/B", a service interface "A::B::IC" the interface "A.B.IC"; `GetRuns` of
/// "Oxa.System.Rsc.Peer" at "/" reports which there are. A connection offers what was registered when it was made, and
/// ends when any of that is withdrawn. A message may have 262144 bytes, header included, and a connection 16 calls in
/// progress; a connection with a longer message is ended, a further call is refused. Owned by the process's main part,
/// which registers the services that it wants to offer from the beginning before. Threads: one at a time; the calls are
/// carried out on the server's own threads.
class OXA_EXPORT RscServer final
{
public:
    /// Listens and serves. `listeningSocket`: a listening Unix socket that the process was given, for instance by
    /// systemd; none by default. Throws InvalidOperationException, naming the socket and the cause, when that cannot
    /// be done.
    explicit RscServer(const RscServerConfiguration& configuration,
                       System::Commons::FileDescriptor listeningSocket = {});
    RscServer(const RscServer&) = delete;
    RscServer& operator=(const RscServer&) = delete;

    /// Ends all connections, waits for the calls in progress, and removes the socket that it made.
    ~RscServer();

private:
    const std::unique_ptr<Internal::ServerLoop> loop;
};

} // namespace Oxa::System::Rsc
