#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/Internal/Server/MessageStream.hpp"
#include "Oxa/System/Rsc/Internal/Server/OfferedMethods.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>

namespace Oxa::System::Rsc::Internal
{

/// One connection of the server. It offers what was registered when it was made, and ends when any of that is
/// withdrawn: the peer is connected to one run of each provider. Calls that come in are only added to the server's
/// queue, as long as there are not too many and the user may make them; any thread executes them later. Owned by the
/// server's loop and by the calls in progress. Threads: `Execute` is safe from any thread; everything else is for the
/// one that runs the loop.
class ServerConnection final : public std::enable_shared_from_this<ServerConnection>
{
public:
    using TimePoint = MessageStream::TimePoint;

    /// A call that has come in and has had no response yet.
    struct Call
    {
        std::shared_ptr<ServerConnection> connection;
        /// Released under the connection's lock.
        MessageHandle request;
        OfferedMethods::Method method;
    };

    /// What all connections of a server share; touched by the thread that runs the loop only.
    struct Shared
    {
        ServerUsers& users;
        std::deque<Call>& calls;
    };

    struct Peer
    {
        uint32 userId;
        int32 processId;
    };

    /// `bus`: started. Throws InvalidOperationException.
    ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer, TimePoint now);
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;
    /// Requires: no call of it is in progress.
    ~ServerConnection();

    /// Does what can be done without waiting. False when the connection is over.
    [[nodiscard]] bool Process(TimePoint now);
    /// Closes the descriptor. Calls in progress finish, without a response.
    void Close();

    /// Whether the services that it offers are withdrawn: `Process` ends it then.
    [[nodiscard]] bool IsWithdrawn() const noexcept
    {
        return methods.IsWithdrawn();
    }

    /// Why the server ended the connection; empty when the peer did or when services were withdrawn.
    [[nodiscard]] BasicString GetFailure() const;

    [[nodiscard]] const Peer& GetPeer() const noexcept
    {
        return peer;
    }

    /// What to wait for, and when `Process` must be called at the latest.
    [[nodiscard]] pollfd GetPoll() const;
    [[nodiscard]] TimePoint GetDeadline() const;

    /// Executes the call on this thread and sends the response.
    static void Execute(Call call);

private:
    [[nodiscard]] MessageHandle TryCreateResponse(sd_bus_message& request);
    void Finish(Call& call, MessageHandle response, const std::optional<BusError>& error, bool isStale);
    void Receive(sd_bus_message& message, const OfferedMethods::Method& method) OXA_REQUIRES(mutex);
    void RequireReadResponses() const OXA_REQUIRES(mutex);
    void End(const BasicString& cause) OXA_REQUIRES(mutex);
    void CloseBus() noexcept OXA_REQUIRES(mutex);

    const Shared shared;
    const Peer peer;

    mutable System::Commons::Mutex mutex;
    /// Declared before the stream, whose bus points into it. Its registrations never change.
    OfferedMethods methods;
    MessageStream stream OXA_GUARDED_BY(mutex);
    std::size_t callsInProgress OXA_GUARDED_BY(mutex) = 0;
    bool isOver OXA_GUARDED_BY(mutex) = false;
    bool isClosed OXA_GUARDED_BY(mutex) = false;
    BasicString failure OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Rsc::Internal
