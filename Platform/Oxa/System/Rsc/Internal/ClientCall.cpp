#include "Oxa/System/Rsc/Internal/ClientCall.hpp"

#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"

namespace Oxa::System::Rsc::Internal
{

ClientCall::ClientCall(ClientConnection& connection) : connection(connection) {}

ClientCall::~ClientCall()
{
    connection.Leave(*this);
}

void ClientCall::Begin(const CallTarget& target)
{
    connection.Enter(*this, target);
}

sd_bus_message& ClientCall::GetRequest() noexcept
{
    return *request;
}

sd_bus_message& ClientCall::SendAndWait(CallDeadline deadline)
{
    return connection.SendAndWait(*this, deadline);
}

int ClientCall::OnAnswer(sd_bus_message* message, void* call, sd_bus_error* /*error*/)
{
    auto& self = *static_cast<ClientCall*>(call);
    self.connection.stream.NoteMessage();
    self.connection.hasAnswered = true;
    self.answer.reset(sd_bus_message_ref(message));
    self.changed.notify_one();
    return 1;
}

} // namespace Oxa::System::Rsc::Internal
