#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"

#include "Oxa/System/Rsc/Internal/BusErrors.hpp"
#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/ClientCall.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

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

void RequireResults(const ClientRequest& request, sd_bus_message& answer)
{
    if (sd_bus_message_is_method_error(&answer, nullptr) > 0)
    {
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
    const CallTarget target{request.objectPath, request.interfaceName, request.operationName};
    ClientCall call(connection);
    Attempt(request, [&] { call.Begin(target); });
    RscMessageWriter writer(call.GetRequest());
    writeArguments(writer);
    sd_bus_message& answer = Attempt(request, [&]() -> sd_bus_message& { return call.SendAndWait(deadline); });
    RequireResults(request, answer);
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
