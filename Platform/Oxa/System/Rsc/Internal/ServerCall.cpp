#include "Oxa/System/Rsc/Internal/ServerCall.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/CallContextScope.hpp"
#include "Oxa/System/Rsc/Internal/ServerConnection.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceSlot.hpp"

#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

void ServerCall::Execute()
{
    CallContextScope context(userId, processId);
    MessageHandle answer = connection->CreateAnswer(*request);
    const std::optional<BusError> error = answer ? Invoke(*answer) : std::nullopt;
    if (context.IsDropped())
    {
        connection->Drop(std::move(request), std::move(answer));
    }
    else
    {
        connection->Answer(std::move(request), std::move(answer), error);
    }
    context.RunAnswered();
}

BasicString ServerCall::Describe() const
{
    return System::Commons::Text::Format("'{0}' of the service '{1}'", operation->name,
                                         service->slot->GetInterfaceName());
}

/// Whatever a service throws becomes an error answer.
std::optional<BusError> ServerCall::Invoke(sd_bus_message& answer) const
{
    try
    {
        const auto implementation = service->slot->TryAcquire();
        if (!implementation)
        {
            return BusError{notAvailableErrorName,
                            System::Commons::Text::Format("The service '{0}' is not provided at the moment",
                                                          service->slot->GetInterfaceName())};
        }
        RscMessageReader arguments(*request);
        RscMessageWriter results(answer);
        operation->invoke(*implementation, arguments, results);
        return std::nullopt;
    }
    catch (...)
    {
        return DescribeException(std::current_exception());
    }
}

} // namespace Oxa::System::Rsc::Internal
