#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Rsc/Internal/MessageStream.hpp"
#include "Oxa/System/Rsc/Internal/ServerCall.hpp"
#include "Oxa/System/Rsc/Internal/ServerCallers.hpp"
#include "Oxa/System/Rsc/Internal/ServerCatalog.hpp"
#include "Oxa/System/Rsc/Internal/ServerUsers.hpp"

#include <poll.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// One connection of the server, to a caller or to a message bus, from the handshake to its end. It only notes the
/// calls that come in; they are carried out later, by whatever thread. Owned by the server's loop and by the calls
/// under way. Threads: `CreateAnswer`, `Answer` and `Drop` are safe from any thread; everything else is for the one
/// that runs the loop.
class ServerConnection final : public std::enable_shared_from_this<ServerConnection>,
                               private System::Commons::Diagnostics::Logging::Loggable<ServerConnection>
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
        /// Calls come in. On a message bus, the name is asked for.
        Serving,
        /// Over. `GetFailure` says why.
        Ended
    };

    /// With a caller. `bus`: started.
    ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer);
    /// With a message bus, on which `busName` is to be owned.
    ServerConnection(const Shared& shared, BusHandle bus, BasicString busName);
    ServerConnection(const ServerConnection&) = delete;
    ServerConnection& operator=(const ServerConnection&) = delete;
    /// Requires: no call of it is under way.
    ~ServerConnection();

    /// A catalog for connections: with the handler that notes the calls.
    [[nodiscard]] static ServerCatalog MakeCatalog();

    /// Does what can be done without waiting.
    Stage Process();
    /// Closes the descriptor. Calls under way finish, without an answer.
    void Close();

    /// Whether the name on the message bus is owned.
    [[nodiscard]] bool HasBusName() const noexcept;
    [[nodiscard]] const BasicString& GetFailure() const noexcept;
    /// Whether the other end went, rather than was sent away.
    [[nodiscard]] bool HasLeft() const noexcept;
    [[nodiscard]] const std::optional<Peer>& GetPeer() const noexcept;

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
    /// What sd-bus hands back for one operation.
    struct Method
    {
        ServerConnection* connection;
        const ServerCatalog::Service* service;
        const RscOperation* operation;
    };

    static int OnMessage(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;
    static int OnFind(sd_bus* bus, const char* path, const char* interface, void* methods, void** found,
                      sd_bus_error* error) noexcept;
    static int OnCall(sd_bus_message* message, void* method, sd_bus_error* error) noexcept;
    static int OnName(sd_bus_message* answer, void* connection, sd_bus_error* error) noexcept;

    void Start();
    void Serve();
    void OfferNewServices();
    void Offer(const ServerCatalog::Service& service);
    void Step();
    void RequireTakenAnswers();
    void RequireProgress() const;

    void Note(ServerCall call);
    void Admit(ServerCall call, std::optional<uint32> userId);
    void Refuse(const ServerCall& call, const BasicString& reason);

    void End(BasicString why, bool hasLeft);
    void CloseBus() noexcept;
    [[nodiscard]] sd_bus& GetBus() const noexcept;

    const Shared shared;
    const std::optional<Peer> peer;
    const BasicString busName;

    mutable System::Commons::Mutex mutex;
    /// For each service that is offered here; before the bus, which points into them.
    std::deque<std::vector<Method>> methods;
    ServerCallers callers;
    BusHandle startingBus;
    std::unique_ptr<MessageStream> stream;
    std::size_t callsUnderWay = 0;
    bool isClosed = false;
    bool hasEnded = false;
    bool hasLeft = false;
    bool hasBusName = false;
    /// A header has come in part; look again then.
    bool isPartial = false;
    TimePoint nextLook;
    BasicString failure;
    /// For the handshake, or for a message to be complete.
    std::optional<TimePoint> completion;
};

} // namespace Oxa::System::Rsc::Internal
