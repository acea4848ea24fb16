#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"

#include "Oxa/System/Rsc/Internal/BusErrors.hpp"
#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/ClientCall.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include <string_view>

namespace Oxa::System::Rsc::Internal
{

namespace
{

BasicString Describe(const ClientRequest& request)
{
    return System::Commons::Text::Format("The call of '{0}' of the service '{1}' at '{2}'", request.operationName,
                                         request.serviceName, request.place);
}

/// Calls a part of this layer that throws causes alone.
template <class Function>
decltype(auto) Attempt(const ClientRequest& request, const Function& function)
{
    try
    {
        return function();
    }
    catch (const RscServiceException& cause)
    {
        ThrowFault(request, cause);
    }
}

std::string_view GetSender(sd_bus_message& answer)
{
    const char* sender = sd_bus_message_get_sender(&answer);
    return sender != nullptr ? sender : "";
}

/// Whether the message bus itself says that there is nobody who could answer.
bool IsOwnerGone(sd_bus_message& answer)
{
    return GetSender(answer) == busDaemonName &&
           (sd_bus_message_is_method_error(&answer, SD_BUS_ERROR_NO_REPLY) > 0 ||
            sd_bus_message_is_method_error(&answer, SD_BUS_ERROR_NAME_HAS_NO_OWNER) > 0 ||
            sd_bus_message_is_method_error(&answer, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0);
}

/// On a message bus anybody may send an answer with whatever number.
void RequireSender(const ClientRequest& request, const char* destination, sd_bus_message& answer)
{
    if (destination != nullptr && GetSender(answer) != destination && GetSender(answer) != busDaemonName)
    {
        ThrowFault(request, {RscFault::BadAnswer, "somebody else answered"});
    }
}

void RequireResults(ClientConnection& connection, const ClientRequest& request, sd_bus_message& answer)
{
    if (sd_bus_message_is_method_error(&answer, nullptr) > 0)
    {
        if (connection.GetDestination() != nullptr && IsOwnerGone(answer))
        {
            connection.Close("the other process left the message bus");
            ThrowFault(request, {RscFault::ConnectionLost, "the other process left the message bus"});
        }
        ThrowBusError(*sd_bus_message_get_error(&answer), Describe(request));
    }
    if (sd_bus_message_has_signature(&answer, request.resultsSignature) <= 0)
    {
        ThrowFault(request, {RscFault::BadAnswer, "the answer is of another type than the operation's"});
    }
}

void ReadResults(const ClientRequest& request, sd_bus_message& answer,
                 const RscRemoteService::ReadFunction& readResults)
{
    try
    {
        RscMessageReader reader(answer);
        readResults(reader);
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() != RscFault::BadAnswer)
        {
            throw;
        }
        ThrowFault(request, exception);
    }
}

} // namespace

void Exchange(ClientConnection& connection, const ClientRequest& request, CallDeadline deadline,
              const RscRemoteService::WriteFunction& writeArguments, const RscRemoteService::ReadFunction& readResults)
{
    const char* destination = request.destination != nullptr ? request.destination : connection.GetDestination();
    const CallTarget target{destination, request.objectPath, request.interfaceName, request.operationName};
    ClientCall call(connection);
    Attempt(request, [&] { call.Begin(target); });
    RscMessageWriter writer(call.GetRequest());
    writeArguments(writer);
    sd_bus_message& answer = Attempt(request, [&]() -> sd_bus_message& { return call.SendAndWait(deadline); });
    RequireSender(request, destination, answer);
    RequireResults(connection, request, answer);
    ReadResults(request, answer, readResults);
}

void ThrowFault(const ClientRequest& request, const RscServiceException& cause)
{
    if (cause.GetFault() == RscFault::TimedOut)
    {
        throw RscServiceException::Create(RscFault::TimedOut, "{0} had no answer within {1} ms", Describe(request),
                                          request.timeout.count());
    }
    throw RscServiceException::Create(cause.GetFault(), "{0} failed: {1}", Describe(request), cause.GetMessage());
}

} // namespace Oxa::System::Rsc::Internal
