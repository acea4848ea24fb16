#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/Internal/Server/MessageStream.hpp"
#include "Oxa/System/Rsc/Internal/Server/OfferedMethods.hpp"
#include "Oxa/System/Rsc/Internal/Server/ServerUsers.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>

namespace Oxa::System::Rsc::Internal
{

class ServerConnection;

/// A call of another process that has come in and is not answered yet. Threads: one at a time.
struct ServerCall final
{
    /// On the calling thread, under no lock; sends the answer.
    void Execute();

    std::shared_ptr<ServerConnection> connection;
    /// Must be released under the connection's lock.
    MessageHandle request;
    OfferedMethods::Method method;

private:
    [[nodiscard]] std::optional<BusError> Invoke(sd_bus_message& answer) const;
};

/// One connection of the server, from the handshake to its end. It serves what was registered when the handshake was
/// over, and ends when any of that is taken back: the other end is connected to one run of each provider. Calls that
/// come in are only added to the server's list, as long as there are not too many and the user may make them; any
/// thread carries them out later. Owned by the server's loop and by the calls under way. Threads: `CreateAnswer`,
/// `Answer` and `Drop` are safe from any thread; everything else is for the one that runs the loop.
class ServerConnection final : public std::enable_shared_from_this<ServerConnection>
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// What all connections of a server share; touched by the thread that runs the loop only.
    struct Shared
    {
        ServerUsers& users;
        std::deque<ServerCall>& calls;
    };

    struct Peer
    {
        uint32 userId;
        int32 processId;
    };

    /// How it stands.
    enum class Stage
    {
        Starting,
        /// Calls come in.
        Serving,
        /// Over. `GetFailure` says why.
        Ended
    };

    enum class EndCause
    {
        PeerLeft,
        ServicesWithdrawn,
        ClosedByServer
    };

    /// `bus`: started.
    ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer);
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;
    /// Requires: no call of it is under way.
    ~ServerConnection();

    /// Whether the services that it serves are gone: `Process` ends it then.
    [[nodiscard]] bool IsWithdrawn() const noexcept;
    /// Does what can be done without waiting.
    Stage Process();
    /// Closes the descriptor. Calls under way finish, without an answer.
    void Close();

    [[nodiscard]] const BasicString& GetFailure() const noexcept;
    /// None before the end.
    [[nodiscard]] std::optional<EndCause> GetEndCause() const noexcept;
    [[nodiscard]] const Peer& GetPeer() const noexcept;

    [[nodiscard]] pollfd GetPoll() const;
    /// When `Process` must be called at the latest.
    [[nodiscard]] std::optional<TimePoint> GetDeadline() const noexcept;

    /// Null when there is nobody to be answered any more.
    [[nodiscard]] MessageHandle CreateAnswer(sd_bus_message& request);
    /// Sends the answer or, in its place, the error.
    void Answer(MessageHandle request, MessageHandle answer, const std::optional<BusError>& error);
    /// Closes the connection instead of answering.
    void Drop(MessageHandle request, MessageHandle answer, EndCause cause);

private:
    void ContinueHandshake();
    void Serve();
    void ProcessStream();
    void RequireTakenAnswers();
    void RequireProgress() const;
    void Receive(sd_bus_message& message, const OfferedMethods::Method& method);
    void Refuse(sd_bus_message& request, const RscOperation& operation, const BasicString& reason);
    void End(BasicString why, EndCause cause);
    void CloseBus() noexcept;
    [[nodiscard]] sd_bus& GetBus() const noexcept;

    const Shared shared;
    const Peer peer;

    mutable System::Commons::Mutex mutex;
    std::size_t callsUnderWay = 0;
    /// Declared before the bus, which points into it.
    OfferedMethods methods;
    BusHandle startingBus;
    std::unique_ptr<MessageStream> stream;
    bool isClosed = false;
    std::optional<EndCause> endCause;
    /// A message's header has come in part. The descriptor stays ready then, so it is not waited for; the rest is
    /// looked for at `nextLook`.
    bool isPartial = false;
    TimePoint nextLook;
    BasicString failure;
    /// Until then the handshake, or the message that has begun, must be complete.
    std::optional<TimePoint> completionDeadline;
};

} // namespace Oxa::System::Rsc::Internal
