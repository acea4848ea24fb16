#include "Oxa/System/Rsc/Internal/ServerConnection.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/RscServer.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <cerrno>
#include <exception>
#include <mutex>
#include <system_error>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Text::Format;

namespace
{

/// For the handshake, and for a message from its first byte to its last.
constexpr std::chrono::seconds completionTimeout{2};

BasicString GetErrorText(int error)
{
    return std::generic_category().message(error);
}

void Require(int result, const char* what)
{
    if (result < 0)
    {
        throw InvalidOperationException::Create("{0}: {1}", what, GetErrorText(-result));
    }
}

} // namespace

ServerConnection::ServerConnection(const Shared& shared, BusHandle bus, const Peer& peer)
    : shared(shared),
      peer(peer),
      callers([this](ServerCall call, std::optional<uint32> userId) { Admit(std::move(call), userId); }),
      startingBus(std::move(bus)),
      completion(std::chrono::steady_clock::now() + completionTimeout)
{
}

ServerConnection::ServerConnection(const Shared& shared, BusHandle bus, BasicString busName)
    : shared(shared),
      busName(std::move(busName)),
      callers([this](ServerCall call, std::optional<uint32> userId) { Admit(std::move(call), userId); }),
      startingBus(std::move(bus)),
      completion(std::chrono::steady_clock::now() + completionTimeout)
{
}

ServerConnection::~ServerConnection() = default;

ServerCatalog ServerConnection::MakeCatalog()
{
    return {&OnCall, sizeof(Method)};
}

ServerConnection::Stage ServerConnection::Process()
{
    const std::lock_guard lock(mutex);
    try
    {
        if (!hasEnded)
        {
            stream ? Step() : Start();
            RequireProgress();
        }
    }
    catch (const RscServiceException& exception)
    {
        End(exception.GetMessage(), exception.GetFault() == RscFault::ConnectionLost);
    }
    catch (const std::exception& exception)
    {
        End(exception.what(), false);
    }
    if (hasEnded)
    {
        return Stage::Ended;
    }
    return stream ? Stage::Serving : Stage::Starting;
}

void ServerConnection::Close()
{
    const std::lock_guard lock(mutex);
    callers.Clear();
    CloseBus();
}

bool ServerConnection::HasBusName() const noexcept
{
    return hasBusName;
}

const BasicString& ServerConnection::GetFailure() const noexcept
{
    return failure;
}

bool ServerConnection::HasLeft() const noexcept
{
    return hasLeft;
}

const std::optional<ServerConnection::Peer>& ServerConnection::GetPeer() const noexcept
{
    return peer;
}

pollfd ServerConnection::GetPoll() const
{
    const std::lock_guard lock(mutex);
    if (hasEnded)
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
    if (hasEnded)
    {
        return TimePoint();
    }
    if (isPartial)
    {
        return nextLook;
    }
    return completion;
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
    --callsUnderWay;
    if (isClosed || hasEnded)
    {
        return;
    }
    const int result = error ? sd_bus_reply_method_errorf(ownRequest.get(), error->name, "%s", error->message.c_str())
                             : sd_bus_send(&GetBus(), ownAnswer.get(), nullptr);
    try
    {
        Require(result, "an answer cannot be sent");
        RequireTakenAnswers();
    }
    catch (const std::exception& exception)
    {
        End(exception.what(), false);
    }
}

void ServerConnection::Drop(MessageHandle request, MessageHandle answer)
{
    const std::lock_guard lock(mutex);
    const MessageHandle ownRequest = std::move(request);
    const MessageHandle ownAnswer = std::move(answer);
    --callsUnderWay;
    End("a service wants it closed", false);
    // The other end is to notice it at once, not when the loop comes by.
    CloseBus();
}

// The calls of sd-bus into the connection: out of Process, under the lock.

int ServerConnection::OnMessage(sd_bus_message* message, void* connection, sd_bus_error* /*error*/) noexcept
{
    const char* const path = sd_bus_message_get_path(message);
    const char* const interface = sd_bus_message_get_interface(message);
    auto& self = *static_cast<ServerConnection*>(connection);
    try
    {
        // Only what is not known yet can have been registered since.
        if (path != nullptr && interface != nullptr && sd_bus_message_is_method_call(message, nullptr, nullptr) > 0 &&
            !self.shared.catalog.Contains(path, interface))
        {
            self.OfferNewServices();
        }
        return 0;
    }
    catch (...)
    {
        return -ENOMEM;
    }
}

int ServerConnection::OnFind(sd_bus* /*bus*/, const char* path, const char* /*interface*/, void* methods, void** found,
                             sd_bus_error* /*error*/) noexcept
{
    const ServerCatalog::Service& service = *static_cast<Method*>(methods)->service;
    // The object is all there is, nothing lies below it.
    if (service.path != path || !service.slot->IsProvided())
    {
        return 0;
    }
    *found = methods;
    return 1;
}

int ServerConnection::OnCall(sd_bus_message* message, void* method, sd_bus_error* /*error*/) noexcept
{
    const Method& called = *static_cast<Method*>(method);
    ServerConnection& self = *called.connection;
    try
    {
        self.Note({self.shared_from_this(), MessageHandle(sd_bus_message_ref(message)), called.service,
                   called.operation, 0, 0});
        return 1;
    }
    catch (...)
    {
        return -ENOMEM;
    }
}

int ServerConnection::OnName(sd_bus_message* answer, void* connection, sd_bus_error* /*error*/) noexcept
{
    auto& self = *static_cast<ServerConnection*>(connection);
    self.stream->NoteMessage();
    constexpr uint32 isOwner = 1;
    uint32 result = 0;
    if (const sd_bus_error* const error = sd_bus_message_get_error(answer))
    {
        self.End(Format("the name '{0}' is refused: {1}", self.busName, error->message ? error->message : error->name),
                 false);
    }
    else if (sd_bus_message_read_basic(answer, 'u', &result) <= 0 || result != isOwner)
    {
        self.End(Format("the name '{0}' is taken", self.busName), false);
    }
    else
    {
        self.hasBusName = true;
        self.completion.reset();
    }
    return 1;
}

void ServerConnection::Start()
{
    const int result = sd_bus_process(startingBus.get(), nullptr);
    if (result == -ECONNRESET || result == -EPIPE || sd_bus_is_open(startingBus.get()) <= 0)
    {
        End("it went away during the handshake", true);
        return;
    }
    Require(result, "the handshake failed");
    if (sd_bus_is_ready(startingBus.get()) > 0)
    {
        Serve();
    }
}

void ServerConnection::Serve()
{
    using FirstMessage = MessageStream::FirstMessage;
    stream = std::make_unique<MessageStream>(std::move(startingBus), RscServer::maximumMessageBytes,
                                             peer ? FirstMessage::MayHaveBegun : FirstMessage::NotBegun);
    Require(sd_bus_add_filter(&GetBus(), nullptr, &OnMessage, this), "no filter can be set up");
    OfferNewServices();
    completion.reset();
    if (peer)
    {
        // What was read together with the handshake makes the descriptor ready no more.
        Step();
        return;
    }
    Require(sd_bus_request_name_async(&GetBus(), nullptr, busName.c_str(), 0, &OnName, this),
            "no name can be asked for");
}

void ServerConnection::OfferNewServices()
{
    shared.catalog.Refresh();
    const auto& services = shared.catalog.GetServices();
    while (methods.size() < services.size())
    {
        Offer(services[methods.size()]);
    }
}

void ServerConnection::Offer(const ServerCatalog::Service& service)
{
    auto& ownMethods = methods.emplace_back();
    for (const RscOperation& operation : service.operations)
    {
        ownMethods.push_back({this, &service, &operation});
    }
    const int result =
        sd_bus_add_fallback_vtable(&GetBus(), nullptr, service.path.c_str(), service.busInterfaceName.c_str(),
                                   service.vtable.data(), &OnFind, ownMethods.data());
    if (result < 0)
    {
        Log(LogLevel::Error, "the interface '{0}' at '{1}' cannot be offered to other processes: {2}",
            service.busInterfaceName, service.path, GetErrorText(-result));
    }
}

void ServerConnection::Step()
{
    isPartial = stream->Process() == MessageStream::Progress::Partial;
    RequireTakenAnswers();
    if (!isPartial && !stream->IsInsideMessage())
    {
        completion.reset();
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    nextLook = now + std::chrono::milliseconds(MessageStream::partialHeaderWait);
    if (!completion)
    {
        completion = now + completionTimeout;
    }
}

/// Answers of sd-bus itself count as well.
void ServerConnection::RequireTakenAnswers()
{
    uint64 queued = 0;
    if (sd_bus_get_n_queued_write(&GetBus(), &queued) >= 0 && queued > RscServer::maximumCallsPerConnection)
    {
        throw InvalidOperationException::Create("{0} answers are not taken", queued);
    }
}

void ServerConnection::RequireProgress() const
{
    if (completion && std::chrono::steady_clock::now() >= *completion)
    {
        throw InvalidOperationException::Create(stream ? "a message stays incomplete"
                                                       : "the handshake stays incomplete");
    }
}

void ServerConnection::Note(ServerCall call)
{
    if (++callsUnderWay > RscServer::maximumCallsPerConnection)
    {
        Refuse(call, Format("the connection has {0} calls under way", RscServer::maximumCallsPerConnection));
        return;
    }
    if (!peer)
    {
        callers.Identify(*stream, std::move(call));
        return;
    }
    call.processId = peer->processId;
    Admit(std::move(call), peer->userId);
}

void ServerConnection::Admit(ServerCall call, std::optional<uint32> userId)
{
    if (!userId)
    {
        Refuse(call, "the message bus does not know the caller");
    }
    else if (!shared.users.MayCall(*userId))
    {
        shared.users.LogStranger(*userId);
        Refuse(call, "the user may not call services");
    }
    else if (call.operation->kind == RscOperationKind::Command && !shared.users.MayCommand(*userId))
    {
        shared.users.LogRefusedCommand(*userId, call.Describe());
        Refuse(call, "the user may not call commands");
    }
    else
    {
        call.userId = *userId;
        shared.calls.push_back(std::move(call));
    }
}

void ServerConnection::Refuse(const ServerCall& call, const BasicString& reason)
{
    --callsUnderWay;
    const BasicString message = Format("The call of {0} is refused: {1}", call.Describe(), reason);
    Require(sd_bus_reply_method_errorf(call.request.get(), refusedErrorName, "%s", message.c_str()),
            "a refusal cannot be sent");
}

void ServerConnection::End(BasicString why, bool newHasLeft)
{
    if (!hasEnded)
    {
        hasEnded = true;
        hasLeft = newHasLeft;
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
