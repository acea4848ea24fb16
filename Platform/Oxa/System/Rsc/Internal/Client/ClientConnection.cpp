// Who waits for what: of the threads whose calls wait, one leads. It waits at the descriptor without the lock, takes in
// what comes under the lock, and wakes the others when it has their answers; they wait for their condition variables.
// So a single call wakes no other thread. A leader that has its answer, or gives up, makes the next call lead.
//
// The lock guards everything that sd-bus counts and all of this class's members. Only `onLoss` is called under it.

#include "Oxa/System/Rsc/Internal/Client/ClientConnection.hpp"

#include "Oxa/System/Rsc/Internal/Wire/BusErrors.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <poll.h>
#include <sched.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::MutexLock;
using Clock = std::chrono::steady_clock;

namespace
{

/// A request of another thread that could not be sent at once waits for the leader to look again.
constexpr int maximumPollWait = 100;
constexpr uint64 endless = UINT64_MAX;
/// As long as a process on another core needs to be woken and to answer. To sleep meanwhile would cost the same again,
/// for being woken.
constexpr std::chrono::microseconds awakeTime{50};

/// Looks for a short while without sleeping. Lets others run: on a single core, the process that is to answer.
bool IsReadySoon(pollfd& waiting) noexcept
{
    const auto end = Clock::now() + awakeTime;
    while (poll(&waiting, 1, 0) == 0)
    {
        if (Clock::now() >= end)
        {
            return false;
        }
        sched_yield();
    }
    return true;
}

} // namespace

/// One call, from its empty request until its answer has been read. On the stack of the thread that calls.
class ClientConnection::PendingCall final
{
public:
    /// Throws NotAvailable when the connection is lost, Refused when too many calls wait or there can be no request.
    PendingCall(ClientConnection& connection, const Operation& operation) : connection(connection)
    {
        const MutexLock lock(connection.mutex);
        if (!connection.loss.empty())
        {
            throw RscServiceException(RscFault::NotAvailable, connection.loss);
        }
        if (connection.calls.size() >= maximumCallsPerConnection)
        {
            throw RscServiceException::Create(RscFault::Refused, "{0} calls wait for an answer already",
                                              maximumCallsPerConnection);
        }
        sd_bus_message* made = nullptr;
        const int result = sd_bus_message_new_method_call(connection.bus.get(), &made, nullptr, operation.objectPath,
                                                          operation.interfaceName, operation.name);
        if (result < 0)
        {
            throw RscServiceException::Create(RscFault::Refused, "there can be no request: {0}",
                                              std::generic_category().message(-result));
        }
        request.reset(made);
        connection.calls.push_back(this);
    }

    PendingCall(const PendingCall&) = delete;
    PendingCall& operator=(const PendingCall&) = delete;

    ~PendingCall()
    {
        const MutexLock lock(connection.mutex);
        std::erase(connection.calls, this);
        slot.reset();
        request.reset();
        answer.reset();
        // This call may have been woken to become the leader and timed out instead; wake another one.
        connection.HandOverLead();
    }

    /// Throws NotAvailable and Refused when the request was not sent, TimedOut, ConnectionLost.
    [[nodiscard]] sd_bus_message& SendAndWait(Deadline deadline)
    {
        MutexLock lock(connection.mutex);
        connection.Send(*this);
        while (!answer)
        {
            if (!connection.loss.empty())
            {
                throw RscServiceException(RscFault::ConnectionLost, connection.loss);
            }
            if (Clock::now() >= deadline)
            {
                GiveUp();
            }
            else if (connection.hasLeader)
            {
                changed.WaitUntil(connection.mutex, deadline);
            }
            else
            {
                connection.Lead(lock, *this, deadline);
            }
        }
        return *answer;
    }

    static int OnAnswer(sd_bus_message* message, void* call, sd_bus_error* /*error*/)
    {
        auto& self = *static_cast<PendingCall*>(call);
        ++self.connection.received;
        self.answer.reset(sd_bus_message_ref(message));
        self.changed.NotifyOne();
        return 1;
    }

    ClientConnection& connection;
    // Under the connection's lock; the messages' contents are this thread's.
    MessageHandle request;
    MessageHandle answer;
    SlotHandle slot;
    System::Commons::ConditionVariable changed;
    /// `connection.received` when the request was sent.
    uint64 receivedBefore = 0;

private:
    void GiveUp()
    {
        // When this process itself stood still, what came in meanwhile has not been looked at yet.
        while (!answer && connection.loss.empty() && connection.Process())
        {
        }
        if (answer || !connection.loss.empty())
        {
            return;
        }
        slot.reset();
        if (connection.received == receivedBefore)
        {
            connection.Lose("the other process does not answer");
        }
        throw RscServiceException(RscFault::TimedOut, "no answer came in time");
    }
};

ClientConnection::ClientConnection(BusHandle newBus, std::function<void()> onLoss)
    : bus(std::move(newBus)), descriptor(sd_bus_get_fd(bus.get())), onLoss(std::move(onLoss))
{
    calls.reserve(maximumCallsPerConnection);
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_filter(bus.get(), &slot, &OnOtherMessage, this) < 0)
    {
        throw RscServiceException(RscFault::NotAvailable, "there is no memory for the connection");
    }
    filter.reset(slot);
}

ClientConnection::~ClientConnection() = default;

void ClientConnection::Call(const Operation& operation, Deadline deadline,
                            const RscRemoteService::WriteFunction& writeArguments,
                            const RscRemoteService::ReadFunction& readResults)
{
    PendingCall call(*this, operation);
    RscMessageWriter writer(*call.request);
    writeArguments(writer);
    sd_bus_message& answer = call.SendAndWait(deadline);
    if (sd_bus_message_is_method_error(&answer, nullptr) > 0)
    {
        ThrowBusError(*sd_bus_message_get_error(&answer));
    }
    if (sd_bus_message_has_signature(&answer, operation.resultsSignature) <= 0)
    {
        throw RscServiceException(RscFault::InvalidResponse, "the answer is of another type than the operation's");
    }
    RscMessageReader reader(answer);
    readResults(reader);
}

void ClientConnection::Close(const BasicString& cause)
{
    const MutexLock lock(mutex);
    Lose(cause);
}

void ClientConnection::Drain()
{
    const MutexLock lock(mutex);
    while (loss.empty() && Process())
    {
    }
    Lose("the other process ended the connection");
}

BasicString ClientConnection::GetLoss() const
{
    const MutexLock lock(mutex);
    return loss;
}

int ClientConnection::GetDescriptor() const noexcept
{
    return descriptor;
}

/// Answers to calls that were given up, and what nobody asked for: sd-bus drops it.
int ClientConnection::OnOtherMessage(sd_bus_message* /*message*/, void* connection, sd_bus_error* /*error*/) noexcept
{
    ++static_cast<ClientConnection*>(connection)->received;
    return 0;
}

void ClientConnection::Send(PendingCall& call)
{
    if (!loss.empty())
    {
        throw RscServiceException(RscFault::NotAvailable, loss);
    }
    sd_bus_slot* slot = nullptr;
    const int result = sd_bus_call_async(bus.get(), &slot, call.request.get(), &PendingCall::OnAnswer, &call, endless);
    if (result >= 0)
    {
        call.slot.reset(slot);
        call.receivedBefore = received;
        return;
    }
    const auto cause = std::generic_category().message(-result);
    if (sd_bus_is_open(bus.get()) <= 0 || result == -EPIPE || result == -ECONNRESET)
    {
        Lose(cause);
        throw RscServiceException(RscFault::ConnectionLost, loss);
    }
    throw RscServiceException::Create(RscFault::Refused, "the request cannot be sent: {0}", cause);
}

void ClientConnection::Lead(System::Commons::MutexLock& lock, PendingCall& call, Deadline deadline)
{
    hasLeader = true;
    while (!call.answer && loss.empty() && Clock::now() < deadline)
    {
        WaitForInput(lock, deadline);
        while (!call.answer && loss.empty() && Process())
        {
        }
    }
    hasLeader = false;
    HandOverLead();
}

void ClientConnection::WaitForInput(System::Commons::MutexLock& lock, Deadline deadline) const
{
    const int events = sd_bus_get_events(bus.get());
    pollfd waiting{descriptor, static_cast<short>(events < 0 ? POLLIN : events | POLLIN), 0};
    lock.Unlock();
    if (!IsReadySoon(waiting))
    {
        // An interruption by a signal is as good as a timeout: the caller looks at its deadline.
        poll(&waiting, 1, GetPollTimeout(deadline, maximumPollWait));
    }
    lock.Lock();
}

/// One step: sends what waits, or takes one message in. False when there is nothing left to do.
bool ClientConnection::Process()
{
    const int result = sd_bus_process(bus.get(), nullptr);
    // The loss is noticed here at once. Otherwise sd-bus would tell each waiting call in turn that it has no answer.
    if (result < 0 || sd_bus_is_open(bus.get()) <= 0)
    {
        Lose(result < 0 && result != -ECONNRESET ? std::generic_category().message(-result)
                                                 : "the other process ended the connection");
        return false;
    }
    return result > 0;
}

void ClientConnection::HandOverLead() noexcept
{
    if (hasLeader)
    {
        return;
    }
    const auto next =
        std::find_if(calls.begin(), calls.end(), [](const auto* call) { return call->slot && !call->answer; });
    if (next != calls.end())
    {
        (*next)->changed.NotifyOne();
    }
}

void ClientConnection::Lose(const BasicString& cause)
{
    if (!loss.empty())
    {
        return;
    }
    loss = cause;
    onLoss();
    // Wakes the leader and the watch.
    shutdown(descriptor, SHUT_RDWR);
    for (PendingCall* call : calls)
    {
        call->changed.NotifyOne();
    }
}

} // namespace Oxa::System::Rsc::Internal
