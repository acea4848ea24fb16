#include "Oxa/System/Rsc/Internal/Endpoint.hpp"

#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

/// The watch looks at one endpoint after the other: one that is silent must not hide for long that another is back.
std::chrono::milliseconds GetProbeTimeout(const RscEndpointConfiguration& configuration)
{
    constexpr std::chrono::milliseconds longest{1000};
    return std::min(configuration.readTimeout, longest);
}

} // namespace

Endpoint::Endpoint(RscEndpointConfiguration configuration, ProviderRuns& listeners)
    : configuration(std::move(configuration)),
      objectPath(GetObjectPath(this->configuration.providerName)),
      place(this->configuration.socketPath),
      listeners(listeners),
      connector(this->configuration, signal),
      availability(signal)
{
}

Endpoint::~Endpoint() = default;

void Endpoint::Call(const BasicString& interfaceName, const RscOperation& operation,
                    const RscRemoteService::WriteFunction& writeArguments,
                    const RscRemoteService::ReadFunction& readResults)
{
    const BasicString busInterfaceName = GetBusInterfaceName(interfaceName);
    const ClientRequest request{.objectPath = objectPath.c_str(),
                                .interfaceName = busInterfaceName.c_str(),
                                .operationName = operation.name,
                                .resultsSignature = operation.resultsSignature,
                                .serviceName = interfaceName,
                                .place = place,
                                .timeout = operation.kind == RscOperationKind::Command ? configuration.commandTimeout
                                                                                       : configuration.readTimeout};
    const auto deadline = CallClock::now() + request.timeout;
    const Connection connection = AcquireFor(request, deadline);
    try
    {
        ExchangeOn(connection, request, deadline, writeArguments, readResults);
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() == RscFault::NotAvailable)
        {
            ReportAbsent(interfaceName);
        }
        throw;
    }
}

bool Endpoint::IsProvided(const BasicString& interfaceName) noexcept
{
    return Probe(interfaceName, configuration.readTimeout) == Presence::Found;
}

Endpoint::Presence Endpoint::Probe(const BasicString& interfaceName, std::chrono::milliseconds timeout) noexcept
{
    try
    {
        if (availability.IsSilent())
        {
            return Presence::Unreachable;
        }
        AskForProperties(interfaceName, timeout);
        availability.NoteFound(interfaceName);
        return Presence::Found;
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() == RscFault::NotAvailable && connector.TryGet())
        {
            availability.NoteAbsent(interfaceName);
            return Presence::Absent;
        }
        if (exception.GetFault() == RscFault::TimedOut)
        {
            availability.NoteSilence();
        }
    }
    catch (const std::exception&)
    {
        // Out of memory, for instance: nothing is known about the service.
    }
    availability.NoteUnavailable();
    return Presence::Unreachable;
}

void Endpoint::NoteRequired(const BasicString& interfaceName)
{
    availability.NoteRequired(interfaceName);
}

void Endpoint::Close()
{
    connector.Close();
}

const BasicString& Endpoint::GetProviderName() const noexcept
{
    return configuration.providerName;
}

EndpointSignal& Endpoint::GetSignal() noexcept
{
    return signal;
}

Endpoint::Connection Endpoint::TryGetConnection() const
{
    return connector.TryGet();
}

void Endpoint::NoteHangUp(const Connection& hungUp)
{
    hungUp->CloseUnlessWaiting();
    if (hungUp->IsLost())
    {
        ReportLost(hungUp);
    }
}

bool Endpoint::IsUnavailable() const
{
    return availability.IsUnavailable();
}

bool Endpoint::TryRecover()
{
    const auto recovery = availability.BeginRecovery();
    for (const BasicString& interfaceName : recovery.soughtInterfaces)
    {
        if (Probe(interfaceName, GetProbeTimeout(configuration)) == Presence::Unreachable)
        {
            return false;
        }
    }
    return availability.TryEndRecovery(recovery);
}

Endpoint::Connection Endpoint::AcquireFor(const ClientRequest& request, CallDeadline deadline)
{
    try
    {
        return connector.Acquire(deadline);
    }
    catch (const RscServiceException& cause)
    {
        availability.NoteUnavailable();
        ThrowFault(request, cause);
    }
}

void Endpoint::ExchangeOn(const Connection& connection, const ClientRequest& request, CallDeadline deadline,
                          const RscRemoteService::WriteFunction& writeArguments,
                          const RscRemoteService::ReadFunction& readResults)
{
    try
    {
        Exchange(*connection, request, deadline, writeArguments, readResults);
    }
    catch (...)
    {
        if (connection->IsLost())
        {
            ReportLost(connection);
        }
        throw;
    }
}

/// Whoever provides an interface knows its properties, even if there are none.
void Endpoint::AskForProperties(const BasicString& interfaceName, std::chrono::milliseconds timeout)
{
    const BasicString busInterfaceName = GetBusInterfaceName(interfaceName);
    const ClientRequest request{.objectPath = objectPath.c_str(),
                                .interfaceName = propertiesInterface,
                                .operationName = "GetAll",
                                .resultsSignature = "a{sv}",
                                .serviceName = interfaceName,
                                .place = place,
                                .timeout = timeout};
    const auto deadline = CallClock::now() + request.timeout;
    ExchangeOn(
        AcquireFor(request, deadline), request, deadline,
        [&busInterfaceName](RscMessageWriter& writer) { writer.WriteText(busInterfaceName); },
        [](RscMessageReader&) {});
}

void Endpoint::ReportLost(const Connection& lost)
{
    if (!connector.BeginLoss(lost))
    {
        return;
    }
    availability.NoteLost();
    listeners.End(configuration.providerName);
    listeners.Report(configuration.providerName);
    connector.EndLoss();
    signal.Wake();
}

void Endpoint::ReportAbsent(const BasicString& interfaceName)
{
    if (availability.NoteLost(interfaceName))
    {
        listeners.End(configuration.providerName);
        listeners.Report(configuration.providerName);
    }
}

} // namespace Oxa::System::Rsc::Internal
