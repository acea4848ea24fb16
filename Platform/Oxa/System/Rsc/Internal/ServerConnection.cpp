#include "Oxa/System/Rsc/Internal/ServerConnection.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/ProtocolLimits.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <cerrno>
#include <exception>
#include <mutex>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::Text::Format;

namespace
{

/// For the handshake, and for a message from its first byte to its last.
constexpr std::chrono::seconds completionTimeout{2};

} // namespace

ServerConnection::ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer)
    : peer(peer),
      admission(shared.users, shared.calls),
      methods(shared.catalog,
              [this](sd_bus_message& message, const ServerCatalog::Service& service, const RscOperation& operation)
              {
                  OnCallReceived({shared_from_this(), MessageHandle(sd_bus_message_ref(&message)), &service, &operation,
                                  this->peer.userId, this->peer.processId});
              }),
      startingBus(std::move(bus)),
      completionDeadline(std::chrono::steady_clock::now() + completionTimeout)
{
}

ServerConnection::~ServerConnection() = default;

ServerConnection::Stage ServerConnection::Process()
{
    const std::lock_guard lock(mutex);
    try
    {
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
    const std::lock_guard lock(mutex);
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
    const std::lock_guard lock(mutex);
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
    const std::lock_guard lock(mutex);
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
    const std::lock_guard lock(mutex);
    sd_bus_message* answer = nullptr;
    if (isClosed || sd_bus_message_new_method_return(&request, &answer) < 0)
    {
        return nullptr;
    }
    return MessageHandle(answer);
}

void ServerConnection::Answer(MessageHandle request, MessageHandle answer, const std::optional<BusError>& error)
{
    const std::lock_guard lock(mutex);
    const MessageHandle ownRequest = std::move(request);
    const MessageHandle ownAnswer = std::move(answer);
    admission.End();
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

void ServerConnection::Drop(MessageHandle request, MessageHandle answer)
{
    const std::lock_guard lock(mutex);
    const MessageHandle ownRequest = std::move(request);
    const MessageHandle ownAnswer = std::move(answer);
    admission.End();
    End("a service wants it closed", EndCause::ClosedByServer);
    // The other end is to notice it at once, not when the loop comes by.
    CloseBus();
}

// The calls of sd-bus into the connection: out of Process, under the lock.

int ServerConnection::OnMessage(sd_bus_message* message, void* connection, sd_bus_error* /*error*/) noexcept
{
    auto& self = *static_cast<ServerConnection*>(connection);
    try
    {
        self.methods.OfferWhatIsCalled(self.GetBus(), *message);
        return 0;
    }
    catch (...)
    {
        return -ENOMEM;
    }
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
    RequireSuccess(sd_bus_add_filter(&GetBus(), nullptr, &OnMessage, this), "no filter can be set up");
    methods.OfferNew(GetBus());
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

void ServerConnection::OnCallReceived(ServerCall call)
{
    if (!admission.TryBegin(call))
    {
        return;
    }
    admission.Admit(std::move(call));
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
