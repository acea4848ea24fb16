#include "Oxa/System/Rsc/Internal/Server/ServerConnection.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/Server/CallContextScope.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <cerrno>
#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::MutexLock;
using System::Commons::Text::Format;

namespace
{

/// For the handshake, and for a message from its first byte to its last.
constexpr std::chrono::seconds completionTimeout{2};

} // namespace

void ServerCall::Execute()
{
    const Registration& registration = *method.registration;
    CallContextScope context(connection->GetPeer().userId, connection->GetPeer().processId);
    MessageHandle answer = registration.isWithdrawn ? nullptr : connection->CreateAnswer(*request);
    const std::optional<BusError> error = answer ? Invoke(*answer) : std::nullopt;
    // What a read has found out may belong to the next run already; whether a command was carried out is told.
    const bool isStale = registration.isWithdrawn && (!answer || method.operation->kind == RscOperationKind::Read);
    if (context.IsDropped() || isStale)
    {
        connection->Drop(std::move(request), std::move(answer),
                         isStale ? ServerConnection::EndCause::ServicesWithdrawn
                                 : ServerConnection::EndCause::ClosedByServer);
    }
    else
    {
        connection->Answer(std::move(request), std::move(answer), error);
    }
    context.RunAnswered();
}

/// Whatever a service throws becomes an error answer.
std::optional<BusError> ServerCall::Invoke(sd_bus_message& answer) const
{
    try
    {
        RscMessageReader arguments(*request);
        RscMessageWriter results(answer);
        method.operation->invoke(*method.service->implementation, arguments, results);
        return std::nullopt;
    }
    catch (...)
    {
        return DescribeException(std::current_exception());
    }
}

ServerConnection::ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer)
    : shared(shared),
      peer(peer),
      methods([this](sd_bus_message& message, const OfferedMethods::Method& method) { Receive(message, method); }),
      startingBus(std::move(bus)),
      completionDeadline(std::chrono::steady_clock::now() + completionTimeout)
{
}

ServerConnection::~ServerConnection() = default;

bool ServerConnection::IsWithdrawn() const noexcept
{
    return methods.IsWithdrawn();
}

ServerConnection::Stage ServerConnection::Process()
{
    const MutexLock lock(mutex);
    try
    {
        if (IsWithdrawn())
        {
            End("the services are withdrawn", EndCause::ServicesWithdrawn);
        }
        if (!endCause)
        {
            if (stream)
            {
                ProcessStream();
            }
            else
            {
                ContinueHandshake();
            }
            RequireProgress();
        }
    }
    catch (const RscServiceException& exception)
    {
        const bool hasLeft = exception.GetFault() == RscFault::ConnectionLost;
        End(exception.GetMessage(), hasLeft ? EndCause::PeerLeft : EndCause::ClosedByServer);
    }
    catch (const std::exception& exception)
    {
        End(exception.what(), EndCause::ClosedByServer);
    }
    if (endCause)
    {
        return Stage::Ended;
    }
    return stream ? Stage::Serving : Stage::Starting;
}

void ServerConnection::Close()
{
    const MutexLock lock(mutex);
    CloseBus();
}

const BasicString& ServerConnection::GetFailure() const noexcept
{
    return failure;
}

std::optional<ServerConnection::EndCause> ServerConnection::GetEndCause() const noexcept
{
    return endCause;
}

const ServerConnection::Peer& ServerConnection::GetPeer() const noexcept
{
    return peer;
}

pollfd ServerConnection::GetPoll() const
{
    const MutexLock lock(mutex);
    if (endCause)
    {
        return {-1, 0, 0};
    }
    if (!stream)
    {
        const int events = sd_bus_get_events(startingBus.get());
        return {sd_bus_get_fd(startingBus.get()), static_cast<short>(events < 0 ? POLLIN : events), 0};
    }
    // A header that has come in part makes the descriptor ready all the time.
    const int events = stream->GetPollEvents() & (isPartial ? ~POLLIN : ~0);
    return {stream->GetDescriptor(), static_cast<short>(events), 0};
}

std::optional<ServerConnection::TimePoint> ServerConnection::GetDeadline() const noexcept
{
    const MutexLock lock(mutex);
    if (endCause)
    {
        return TimePoint();
    }
    if (isPartial)
    {
        return nextLook;
    }
    return completionDeadline;
}

MessageHandle ServerConnection::CreateAnswer(sd_bus_message& request)
{
    const MutexLock lock(mutex);
    sd_bus_message* answer = nullptr;
    if (isClosed || sd_bus_message_new_method_return(&request, &answer) < 0)
    {
        return nullptr;
    }
    return MessageHandle(answer);
}

void ServerConnection::Answer(MessageHandle request, MessageHandle answer, const std::optional<BusError>& error)
{
    const MutexLock lock(mutex);
    const MessageHandle ownRequest = std::move(request);
    const MessageHandle ownAnswer = std::move(answer);
    --callsUnderWay;
    if (isClosed || endCause)
    {
        return;
    }
    const int result = error ? sd_bus_reply_method_errorf(ownRequest.get(), error->name, "%s", error->message.c_str())
                             : sd_bus_send(&GetBus(), ownAnswer.get(), nullptr);
    try
    {
        RequireSuccess(result, "an answer cannot be sent");
        RequireTakenAnswers();
    }
    catch (const std::exception& exception)
    {
        End(exception.what(), EndCause::ClosedByServer);
    }
}

void ServerConnection::Drop(MessageHandle request, MessageHandle answer, EndCause cause)
{
    const MutexLock lock(mutex);
    const MessageHandle ownRequest = std::move(request);
    const MessageHandle ownAnswer = std::move(answer);
    --callsUnderWay;
    End(cause == EndCause::ServicesWithdrawn ? "the services are withdrawn" : "a service wants it closed", cause);
    // The other end is to notice it at once, not when the loop comes by.
    CloseBus();
}

void ServerConnection::ContinueHandshake()
{
    const int result = sd_bus_process(startingBus.get(), nullptr);
    if (result == -ECONNRESET || result == -EPIPE || sd_bus_is_open(startingBus.get()) <= 0)
    {
        End("it went away during the handshake", EndCause::PeerLeft);
        return;
    }
    RequireSuccess(result, "the handshake failed");
    if (sd_bus_is_ready(startingBus.get()) > 0)
    {
        Serve();
    }
}

void ServerConnection::Serve()
{
    stream = std::make_unique<MessageStream>(std::move(startingBus), maximumMessageBytes);
    methods.Offer(GetBus());
    completionDeadline.reset();
    // sd-bus may have read the first message together with the handshake; poll would not report it, so process it now.
    ProcessStream();
}

void ServerConnection::ProcessStream()
{
    isPartial = stream->Process() == MessageStream::Progress::Partial;
    RequireTakenAnswers();
    if (!isPartial && !stream->IsInsideMessage())
    {
        completionDeadline.reset();
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    nextLook = now + std::chrono::milliseconds(MessageStream::partialHeaderWait);
    if (!completionDeadline)
    {
        completionDeadline = now + completionTimeout;
    }
}

/// Answers of sd-bus itself count as well.
void ServerConnection::RequireTakenAnswers()
{
    uint64 queued = 0;
    if (sd_bus_get_n_queued_write(&GetBus(), &queued) >= 0 && queued > maximumCallsPerConnection)
    {
        throw InvalidOperationException::Create("{0} answers are not taken", queued);
    }
}

void ServerConnection::RequireProgress() const
{
    if (completionDeadline && std::chrono::steady_clock::now() >= *completionDeadline)
    {
        throw InvalidOperationException::Create(stream ? "a message stays incomplete"
                                                       : "the handshake stays incomplete");
    }
}

/// Out of Process, under the lock.
void ServerConnection::Receive(sd_bus_message& message, const OfferedMethods::Method& method)
{
    const RscOperation& operation = *method.operation;
    if (callsUnderWay >= maximumCallsPerConnection)
    {
        Refuse(message, operation, Format("the connection has {0} calls under way", maximumCallsPerConnection));
        return;
    }
    if (operation.kind == RscOperationKind::Command && !shared.users.MayCommand(peer.userId))
    {
        shared.users.LogRefusedCommand(peer.userId, operation.name);
        Refuse(message, operation, "the user may not call commands");
        return;
    }
    shared.calls.push_back({shared_from_this(), MessageHandle(sd_bus_message_ref(&message)), method});
    ++callsUnderWay;
}

void ServerConnection::Refuse(sd_bus_message& request, const RscOperation& operation, const BasicString& reason)
{
    const BasicString message = Format("the call of '{0}' is refused: {1}", operation.name, reason);
    RequireSuccess(sd_bus_reply_method_errorf(&request, refusedErrorName, "%s", message.c_str()),
                   "a refusal cannot be sent");
}

void ServerConnection::End(BasicString why, EndCause cause)
{
    if (!endCause)
    {
        endCause = cause;
        failure = std::move(why);
    }
}

void ServerConnection::CloseBus() noexcept
{
    if (!isClosed)
    {
        isClosed = true;
        sd_bus_close(&GetBus());
    }
}

sd_bus& ServerConnection::GetBus() const noexcept
{
    return stream ? stream->GetBus() : *startingBus;
}

} // namespace Oxa::System::Rsc::Internal
