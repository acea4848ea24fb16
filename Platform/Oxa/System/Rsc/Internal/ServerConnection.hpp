#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/Internal/MessageStream.hpp"
#include "Oxa/System/Rsc/Internal/OfferedMethods.hpp"
#include "Oxa/System/Rsc/Internal/ServerAdmission.hpp"
#include "Oxa/System/Rsc/Internal/ServerCall.hpp"
#include "Oxa/System/Rsc/Internal/ServerCatalog.hpp"
#include "Oxa/System/Rsc/Internal/ServerUsers.hpp"

#include <poll.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

namespace Oxa::System::Rsc::Internal
{

/// One connection of the server, from the handshake to its end. The calls that come in
/// are only added to the server's list; they are carried out later, by whatever thread. Owned by the server's loop and
/// by the calls under way. Threads: `CreateAnswer`, `Answer` and `Drop` are safe from any thread; everything else is
/// for the one that runs the loop.
class ServerConnection final : public std::enable_shared_from_this<ServerConnection>
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// What all connections of a server share; touched by the thread that runs the loop only.
    struct Shared
    {
        ServerUsers& users;
        ServerCatalog& catalog;
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
        ClosedByServer
    };

    /// `bus`: started.
    ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer);
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;
    /// Requires: no call of it is under way.
    ~ServerConnection();

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
    void Drop(MessageHandle request, MessageHandle answer);

private:
    static int OnMessage(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;

    void ContinueHandshake();
    void Serve();
    void ProcessStream();
    void RequireTakenAnswers();
    void RequireProgress() const;
    void OnCallReceived(ServerCall call);
    void End(BasicString why, EndCause cause);
    void CloseBus() noexcept;
    [[nodiscard]] sd_bus& GetBus() const noexcept;

    const Peer peer;

    mutable System::Commons::Mutex mutex;
    ServerAdmission admission;
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
