#pragma once

#include "Oxa/System/Commons/Export.hpp"
#include "Oxa/System/Rsc/RscServerConfiguration.hpp"

#include <memory>

namespace Oxa::System::Rsc
{

namespace Internal
{
class ServerLoop;
}

/// Offers to other processes what is registered at this process's ServiceManager, now and later, by the protocol of
/// D-Bus: a provider "A.B" is the object "/A/B", a service interface "A::B::IC" the interface "A.B.IC". A call of a
/// service that is not provided at the moment is answered so.
/// Owned by the process's main part, which registers the services that it wants to offer from the beginning before.
/// Threads: one at a time; the calls are carried out on the server's own threads.
class OXA_EXPORT RscServer final
{
public:
    /// At most so long a message may be, header included.
    static constexpr std::size_t maximumMessageBytes = 262144;
    /// So many calls of one connection may be under way; another one is refused.
    static constexpr std::size_t maximumCallsPerConnection = 16;

    /// Listens and serves. Throws InvalidOperationException, naming socket or bus and the cause, when that cannot be
    /// done.
    explicit RscServer(const RscServerConfiguration& configuration);
    RscServer(const RscServer&) = delete;
    RscServer& operator=(const RscServer&) = delete;

    /// Ends all connections, waits for the calls under way, and removes the socket that it made.
    ~RscServer();

private:
    const std::unique_ptr<Internal::ServerLoop> loop;
};

} // namespace Oxa::System::Rsc
