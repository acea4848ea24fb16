#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Bus.hpp"
#include "Oxa/System/Rsc/RscRemoteService.hpp"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace Oxa::System::Rsc::Internal
{

/// A connection to one run of a provider in another process. Once lost it stays lost. Shared by its endpoint, the calls
/// under way and the watch; the last one closes the descriptor. Threads: safe from any thread; calls do not wait for
/// each other's answers.
class ClientConnection final
{
public:
    using Deadline = std::chrono::steady_clock::time_point;

    struct Operation
    {
        const char* objectPath;
        const char* interfaceName;
        const char* name;
        const char* resultsSignature;
    };

    /// `bus`: connected and authenticated. `onLoss` is called once, before any call fails because of the loss; under
    /// the lock, so it must return at once.
    ClientConnection(BusHandle bus, std::function<void()> onLoss);
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;
    ~ClientConnection();

    /// As RscRemoteService's; the messages of RscServiceException are the causes alone. A call that times out while
    /// nothing at all comes in loses the connection: the other process does not answer.
    void Call(const Operation& operation, Deadline deadline, const RscRemoteService::WriteFunction& writeArguments,
              const RscRemoteService::ReadFunction& readResults);

    /// Ends the calls under way with ConnectionLost.
    void Close(const BasicString& cause);
    /// For a connection whose other end hung up: hands out the answers that have come in, then closes it.
    void Drain();

    /// Empty while the connection is not lost.
    [[nodiscard]] BasicString GetLoss() const;
    /// Valid as long as this object. Hangs up when the connection is lost.
    [[nodiscard]] int GetDescriptor() const noexcept;

private:
    class PendingCall;

    static int OnOtherMessage(sd_bus_message* message, void* connection, sd_bus_error* error) noexcept;

    // All of these under the lock.
    void Send(PendingCall& call);
    void Lead(System::Commons::MutexLock& lock, PendingCall& call, Deadline deadline);
    void WaitForInput(System::Commons::MutexLock& lock, Deadline deadline) const;
    [[nodiscard]] bool Process();
    void HandOverLead() noexcept;
    void Lose(const BasicString& cause);

    mutable System::Commons::Mutex mutex;
    const BusHandle bus;
    const int descriptor;
    const std::function<void()> onLoss;
    SlotHandle filter;
    std::vector<PendingCall*> calls;
    BasicString loss;
    /// How many messages have come in.
    uint64 received = 0;
    bool hasLeader = false;
};

} // namespace Oxa::System::Rsc::Internal
