#pragma once

#include "Oxa/System/Rsc/Internal/BusConnecting.hpp"
#include "Oxa/System/Rsc/Internal/BusHandles.hpp"

#include <condition_variable>

namespace Oxa::System::Rsc::Internal
{

class ClientConnection;

struct CallTarget
{
    const char* objectPath;
    const char* interfaceName;
    const char* operationName;
};

/// One call, from its empty request until its answer has been read. What it throws is an RscServiceException with the
/// cause alone, for a sentence of the caller's. Threads: the one that calls.
class ClientCall final
{
public:
    explicit ClientCall(ClientConnection& connection);
    ClientCall(const ClientCall&) = delete;
    ClientCall& operator=(const ClientCall&) = delete;
    ~ClientCall();

    /// Once. Makes the request. Throws Refused when too many calls wait on the connection, ConnectionLost when that is
    /// lost.
    void Begin(const CallTarget& target);

    /// Requires: `Begin`.
    [[nodiscard]] sd_bus_message& GetRequest() noexcept;

    /// Once. The answer, which may be an error; valid as long as this object. Throws TimedOut, ConnectionLost,
    /// BadAnswer when it cannot be understood what came in, Refused when the request cannot be sent.
    [[nodiscard]] sd_bus_message& SendAndWait(CallDeadline deadline);

private:
    friend class ClientConnection;

    static int OnAnswer(sd_bus_message* message, void* call, sd_bus_error* error);

    [[nodiscard]] bool IsWaiting() const noexcept
    {
        return slot && !answer;
    }

    ClientConnection& connection;
    /// All under the connection's lock.
    MessageHandle request;
    MessageHandle answer;
    SlotHandle slot;
    std::condition_variable changed;
};

} // namespace Oxa::System::Rsc::Internal
