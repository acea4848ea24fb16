// `mutex` guards the bus with all its messages, because none of sd-bus's counters is atomic: the loop reads and queues
// calls under it, and the threads that execute them create, send and release messages under it. A service runs without
// it, and no other lock is taken under it but those of loggers.

#include "Oxa/System/Rsc/Internal/Server/ServerConnection.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscCallContext.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::MutexLock;
using System::Commons::Text::Format;

namespace
{

/// What a service throws becomes an error response.
std::optional<BusError> Invoke(const ServerConnection::Call& call, sd_bus_message& response)
{
    try
    {
        RscMessageReader arguments(*call.request);
        RscMessageWriter results(response);
        call.method.operation->invoke(*call.method.service->implementation, arguments, results);
        return std::nullopt;
    }
    catch (...)
    {
        return DescribeException(std::current_exception());
    }
}

} // namespace

ServerConnection::ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer, TimePoint now)
    : shared(shared),
      peer(peer),
      // sd-bus calls it out of `Process`, where the analysis cannot see the lock.
      methods([this](sd_bus_message& message, const OfferedMethods::Method& method) OXA_NO_THREAD_SAFETY_ANALYSIS
              { Receive(message, method); }),
      stream(std::move(bus), maximumMessageBytes, now)
{
    methods.Offer(stream.GetBus());
}

ServerConnection::~ServerConnection() = default;

bool ServerConnection::Process(TimePoint now)
{
    const MutexLock lock(mutex);
    isOver = isOver || methods.IsWithdrawn();
    if (isOver)
    {
        return false;
    }
    try
    {
        stream.Process(now);
        RequireReadResponses();
    }
    catch (const RscServiceException& exception)
    {
        End(exception.GetFault() == RscFault::ConnectionLost ? "" : exception.GetMessage());
    }
    catch (const std::exception& exception)
    {
        End(exception.what());
    }
    return !isOver;
}

void ServerConnection::Close()
{
    const MutexLock lock(mutex);
    CloseBus();
}

BasicString ServerConnection::GetFailure() const
{
    const MutexLock lock(mutex);
    return failure;
}

pollfd ServerConnection::GetPoll() const
{
    const MutexLock lock(mutex);
    return isOver ? pollfd{-1, 0, 0} : stream.GetPoll();
}

ServerConnection::TimePoint ServerConnection::GetDeadline() const
{
    const MutexLock lock(mutex);
    return isOver ? TimePoint() : stream.GetDeadline();
}

void ServerConnection::Execute(Call call)
{
    ServerConnection& connection = *call.connection;
    const Registration& registration = *call.method.registration;
    RscCallContext context(connection.peer.userId, connection.peer.processId);
    MessageHandle response = registration.isWithdrawn ? nullptr : connection.TryCreateResponse(*call.request);
    const std::optional<BusError> error = response ? Invoke(call, *response) : std::nullopt;
    // What a read has found may belong to the next run already; whether a command was carried out is reported.
    const bool isStale =
        registration.isWithdrawn && (!response || call.method.operation->kind == RscOperationKind::Read);
    connection.Finish(call, std::move(response), error, isStale);
    context.RunAnswered();
}

/// Null when the peer does not wait for a response any more.
MessageHandle ServerConnection::TryCreateResponse(sd_bus_message& request)
{
    const MutexLock lock(mutex);
    sd_bus_message* response = nullptr;
    if (isClosed || sd_bus_message_new_method_return(&request, &response) < 0)
    {
        return nullptr;
    }
    return MessageHandle(response);
}

/// Sends the response or, in its place, the error. A stale call ends the connection instead, so that the peer notices
/// at once that the run is over.
void ServerConnection::Finish(Call& call, MessageHandle response, const std::optional<BusError>& error, bool isStale)
{
    const MutexLock lock(mutex);
    const MessageHandle request = std::move(call.request);
    const MessageHandle sent = std::move(response);
    --callsInProgress;
    if (isStale)
    {
        isOver = true;
        CloseBus();
    }
    if (isClosed || isOver)
    {
        return;
    }
    try
    {
        RequireSuccess(error ? sd_bus_reply_method_errorf(request.get(), error->name, "%s", error->message.c_str())
                             : sd_bus_send(&stream.GetBus(), sent.get(), nullptr),
                       "cannot send a response");
        RequireReadResponses();
    }
    catch (const std::exception& exception)
    {
        End(exception.what());
    }
}

void ServerConnection::Receive(sd_bus_message& message, const OfferedMethods::Method& method)
{
    BasicString reason;
    if (callsInProgress >= maximumCallsPerConnection)
    {
        reason = Format("the connection has {0} calls in progress", maximumCallsPerConnection);
    }
    else if (method.operation->kind == RscOperationKind::Command && !shared.users.MayCommand(peer.userId))
    {
        shared.users.LogRefusedCommand(peer.userId, method.operation->name);
        reason = "the user may not call commands";
    }
    else
    {
        shared.calls.push_back({shared_from_this(), MessageHandle(sd_bus_message_ref(&message)), method});
        ++callsInProgress;
        return;
    }
    const BasicString text = Format("the call of '{0}' is refused: {1}", method.operation->name, reason);
    RequireSuccess(sd_bus_reply_method_errorf(&message, refusedErrorName, "%s", text.c_str()), "cannot refuse a call");
}

/// Responses of sd-bus itself count as well.
void ServerConnection::RequireReadResponses() const
{
    uint64 queued = 0;
    if (sd_bus_get_n_queued_write(&stream.GetBus(), &queued) >= 0 && queued > maximumCallsPerConnection)
    {
        throw System::Commons::InvalidOperationException::Create("the peer does not read {0} responses", queued);
    }
}

/// Requires: not over.
void ServerConnection::End(const BasicString& cause)
{
    isOver = true;
    failure = cause;
}

void ServerConnection::CloseBus() noexcept
{
    if (!isClosed)
    {
        isClosed = true;
        sd_bus_close(&stream.GetBus());
    }
}

} // namespace Oxa::System::Rsc::Internal
