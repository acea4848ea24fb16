#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/ClientCall.hpp"
#include "Oxa/System/Rsc/Internal/MessageStream.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <mutex>
#include <optional>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// A connection to another process. Of the calls that wait for answers one leads: its thread waits at the descriptor
/// and hands the others theirs; a single call needs no other thread and no wake-up. Once lost it stays lost. Shared by
/// its endpoint, the calls under way and the watch; the last one closes the descriptor. Calls from the other process
/// are dropped: this one has nothing to offer. Threads: safe from any thread.
class ClientConnection final
{
public:
    /// `bus`: connected and authenticated.
    explicit ClientConnection(BusHandle bus);
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;
    ~ClientConnection();

    [[nodiscard]] bool IsLost() const;
    /// Whether any answer ever came.
    [[nodiscard]] bool HasAnswered() const;

    /// Ends the calls under way with ConnectionLost.
    void Close(const char* cause);

    /// For a connection whose other end hung up: closes it unless a call waits, which first gets what is still there.
    void CloseUnlessWaiting();

    /// Valid as long as this object.
    [[nodiscard]] int GetDescriptor() const noexcept;

private:
    friend class ClientCall;

    static int OnOtherMessage(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;

    void Enter(ClientCall& call, const CallTarget& target);
    void Leave(ClientCall& call) noexcept;
    [[nodiscard]] sd_bus_message& SendAndWait(ClientCall& call, CallDeadline deadline);

    // The rest under the lock.
    void Send(ClientCall& call);
    void Lead(std::unique_lock<System::Commons::Mutex>& lock, ClientCall& call, CallDeadline deadline);
    void WaitForInput(std::unique_lock<System::Commons::Mutex>& lock, CallDeadline deadline) const;
    void Process();
    void HandOverLead() noexcept;
    void GiveUp(ClientCall& call);
    void RequirePlace();
    void ThrowIfLost() const;
    void Lose(const RscServiceException& newLoss);
    [[nodiscard]] std::size_t CountWaiting() const;

    mutable System::Commons::Mutex mutex;
    MessageStream stream;
    SlotHandle filter;
    const int descriptor;
    std::vector<ClientCall*> calls;
    std::optional<RscServiceException> loss;
    MessageStream::Progress progress = MessageStream::Progress::Idle;
    /// Since when a message has been coming in that is not complete.
    std::optional<CallDeadline> incompleteSince;
    /// Calls that were given up and whose answers have not come in since.
    std::size_t unanswered = 0;
    bool hasLeader = false;
    bool hasAnswered = false;
};

} // namespace Oxa::System::Rsc::Internal
