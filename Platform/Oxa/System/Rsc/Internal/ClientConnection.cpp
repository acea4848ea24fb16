#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"

#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"
#include "Oxa/System/Rsc/Internal/ProtocolLimits.hpp"

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

/// A request of another thread that could not be sent at once waits for the leader to look again.
constexpr int maximumPollWait = 100;
constexpr uint64 endless = UINT64_MAX;
/// As long as a process on another core needs to be woken and to answer. To sleep meanwhile would cost the same again,
/// for being woken.
constexpr std::chrono::microseconds awakeTime{50};
/// A message that takes longer is announced longer than it is, or the other process stands still: what comes behind it
/// would be taken for a part of it.
constexpr std::chrono::milliseconds maximumIncompleteTime{250};
/// Of calls that were given up. More would fill the buffers of a process that stands still, which would then carry out
/// all of them when it goes on.
constexpr std::size_t maximumUnanswered = maximumCallsPerConnection;
/// Requests whose callers timed out stay in the send queue until the other process reads them.
constexpr uint64 maximumQueuedRequests = maximumCallsPerConnection;

/// Looks for a short while without sleeping. Lets others run: on a single core, the process that is to answer.
bool IsReadySoon(pollfd& waiting) noexcept
{
    const auto end = CallClock::now() + awakeTime;
    while (poll(&waiting, 1, 0) == 0)
    {
        if (CallClock::now() >= end)
        {
            return false;
        }
        sched_yield();
    }
    return true;
}

} // namespace

ClientConnection::ClientConnection(BusHandle bus)
    : stream(std::move(bus), maximumMessageBytes, MessageStream::FirstMessage::NotBegun),
      descriptor(stream.GetDescriptor())
{
    calls.reserve(maximumCallsPerConnection);
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_filter(&stream.GetBus(), &slot, &OnOtherMessage, this) < 0)
    {
        throw RscServiceException(RscFault::ConnectionLost, "there is no memory for the connection");
    }
    filter.reset(slot);
}

ClientConnection::~ClientConnection() = default;

/// Under the lock, out of `Process`.
int ClientConnection::OnOtherMessage(sd_bus_message* message, void* connection, sd_bus_error* /*error*/) noexcept
{
    auto& self = *static_cast<ClientConnection*>(connection);
    self.stream.NoteMessage();
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0)
    {
        // Without this, sd-bus would keep an error for every call that the other process may never take.
        return 1;
    }
    uint64 serial = 0;
    const bool isAnswer = sd_bus_message_get_reply_cookie(message, &serial) >= 0;
    self.unanswered -= isAnswer && self.unanswered > 0 ? 1 : 0;
    return 0;
}

bool ClientConnection::IsLost() const
{
    const std::lock_guard lock(mutex);
    return loss.has_value();
}

bool ClientConnection::HasAnswered() const
{
    const std::lock_guard lock(mutex);
    return hasAnswered;
}

void ClientConnection::Close(const char* cause)
{
    const std::lock_guard lock(mutex);
    Lose(RscServiceException(RscFault::ConnectionLost, cause));
}

void ClientConnection::CloseUnlessWaiting()
{
    const std::lock_guard lock(mutex);
    if (CountWaiting() == 0)
    {
        Lose(RscServiceException(RscFault::ConnectionLost, "the other process ended the connection"));
    }
}

int ClientConnection::GetDescriptor() const noexcept
{
    return descriptor;
}

void ClientConnection::Enter(ClientCall& call, const CallTarget& target)
{
    const std::lock_guard lock(mutex);
    ThrowIfLost();
    RequirePlace();
    sd_bus_message* request = nullptr;
    if (const int result = sd_bus_message_new_method_call(&stream.GetBus(), &request, nullptr, target.objectPath,
                                                          target.interfaceName, target.operationName);
        result < 0)
    {
        throw RscServiceException::Create(RscFault::Refused, "there can be no request: {0}",
                                          std::generic_category().message(-result));
    }
    call.request.reset(request);
    sd_bus_message_set_auto_start(request, 0);
    calls.push_back(&call);
}

void ClientConnection::Leave(ClientCall& call) noexcept
{
    const std::lock_guard lock(mutex);
    std::erase(calls, &call);
    call.slot.reset();
    call.request.reset();
    call.answer.reset();
    // This call may have been woken to become the leader and timed out instead; wake another one.
    HandOverLead();
}

sd_bus_message& ClientConnection::SendAndWait(ClientCall& call, CallDeadline deadline)
{
    std::unique_lock lock(mutex);
    ThrowIfLost();
    Send(call);
    while (!call.answer)
    {
        ThrowIfLost();
        if (CallClock::now() >= deadline)
        {
            GiveUp(call);
            throw RscServiceException(RscFault::TimedOut, "no answer came in time");
        }
        if (hasLeader)
        {
            call.changed.wait_until(lock, deadline);
        }
        else
        {
            Lead(lock, call, deadline);
        }
    }
    return *call.answer;
}

void ClientConnection::Send(ClientCall& call)
{
    // Others may have sent since the call was begun.
    RequirePlace();
    sd_bus_slot* slot = nullptr;
    const int result =
        sd_bus_call_async(&stream.GetBus(), &slot, call.request.get(), &ClientCall::OnAnswer, &call, endless);
    if (result >= 0)
    {
        call.slot.reset(slot);
        return;
    }
    const auto cause = std::generic_category().message(-result);
    if (sd_bus_is_open(&stream.GetBus()) <= 0 || result == -EPIPE || result == -ECONNRESET)
    {
        Lose(RscServiceException::Create(RscFault::ConnectionLost, "the connection is lost: {0}", cause));
        ThrowIfLost();
    }
    throw RscServiceException::Create(RscFault::Refused, "the request cannot be sent: {0}", cause);
}

void ClientConnection::Lead(std::unique_lock<System::Commons::Mutex>& lock, ClientCall& call, CallDeadline deadline)
{
    hasLeader = true;
    while (!call.answer && !loss && CallClock::now() < deadline)
    {
        WaitForInput(lock, deadline);
        if (!loss)
        {
            Process();
        }
    }
    hasLeader = false;
    HandOverLead();
}

void ClientConnection::WaitForInput(std::unique_lock<System::Commons::Mutex>& lock, CallDeadline deadline) const
{
    const bool isPartial = progress == MessageStream::Progress::Partial;
    pollfd waiting{descriptor, stream.GetPollEvents(), 0};
    const int timeout = GetPollTimeout(deadline, isPartial ? MessageStream::partialHeaderWait : maximumPollWait);
    lock.unlock();
    if (isPartial || !IsReadySoon(waiting))
    {
        // An interruption by a signal is as good as a timeout: the caller looks at its deadline.
        poll(&waiting, isPartial ? 0 : 1, timeout);
    }
    lock.lock();
}

void ClientConnection::Process()
{
    try
    {
        progress = stream.Process();
        const bool isIncomplete = progress == MessageStream::Progress::Partial || stream.IsInsideMessage();
        if (isIncomplete != incompleteSince.has_value())
        {
            incompleteSince = isIncomplete ? std::optional(CallClock::now()) : std::nullopt;
        }
    }
    catch (const RscServiceException& exception)
    {
        Lose(exception);
    }
    catch (const std::exception& exception)
    {
        Lose(RscServiceException(RscFault::ConnectionLost, exception.what()));
    }
}

void ClientConnection::HandOverLead() noexcept
{
    if (hasLeader)
    {
        return;
    }
    const auto next =
        std::find_if(calls.begin(), calls.end(), [](const ClientCall* call) { return call->IsWaiting(); });
    if (next != calls.end())
    {
        (*next)->changed.notify_one();
    }
}

/// A connection that nothing useful can come out of any more is lost, so that the next call makes another one.
void ClientConnection::GiveUp(ClientCall& call)
{
    call.slot.reset();
    ++unanswered;
    if (incompleteSince && CallClock::now() - *incompleteSince >= maximumIncompleteTime)
    {
        Lose(RscServiceException(RscFault::BadAnswer, "what came in stays incomplete"));
    }
    else if (unanswered >= maximumUnanswered)
    {
        Lose(RscServiceException::Create(RscFault::ConnectionLost, "{0} calls had no answer", unanswered));
    }
}

void ClientConnection::RequirePlace()
{
    if (CountWaiting() >= maximumCallsPerConnection)
    {
        throw RscServiceException::Create(RscFault::Refused, "{0} calls wait for an answer already",
                                          maximumCallsPerConnection);
    }
    uint64 queued = 0;
    if (sd_bus_get_n_queued_write(&stream.GetBus(), &queued) >= 0 && queued >= maximumQueuedRequests)
    {
        throw RscServiceException::Create(RscFault::Refused, "{0} requests wait to be sent already", queued);
    }
}

void ClientConnection::ThrowIfLost() const
{
    if (loss)
    {
        throw RscServiceException(*loss);
    }
}

void ClientConnection::Lose(const RscServiceException& newLoss)
{
    if (loss)
    {
        return;
    }
    loss = newLoss;
    // Wakes the leader as well.
    shutdown(descriptor, SHUT_RDWR);
    for (ClientCall* call : calls)
    {
        call->changed.notify_one();
    }
}

std::size_t ClientConnection::CountWaiting() const
{
    return static_cast<std::size_t>(
        std::count_if(calls.begin(), calls.end(), [](const ClientCall* call) { return call->IsWaiting(); }));
}

} // namespace Oxa::System::Rsc::Internal
