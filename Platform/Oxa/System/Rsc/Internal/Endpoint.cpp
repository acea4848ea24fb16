#include "Oxa/System/Rsc/Internal/Endpoint.hpp"

#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"
#include "Oxa/System/Rsc/Internal/ServiceListeners.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <algorithm>
#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

BasicString DescribePlace(const RscEndpointConfiguration& configuration)
{
    return configuration.socketPath.empty() ? configuration.busName : configuration.socketPath;
}

} // namespace

Endpoint::Endpoint(RscEndpointConfiguration configuration, ServiceListeners& listeners)
    : configuration(std::move(configuration)),
      objectPath(GetObjectPath(this->configuration.providerName)),
      place(DescribePlace(this->configuration)),
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
    const ClientRequest request{.destination = nullptr,
                                .objectPath = objectPath.c_str(),
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
    try
    {
        if (availability.IsSilent())
        {
            return false;
        }
        AskForProperties(interfaceName);
        availability.NoteFound(interfaceName);
        return true;
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() == RscFault::TimedOut)
        {
            availability.NoteSilence();
        }
        availability.NoteUnavailable();
        return false;
    }
    catch (const std::exception&)
    {
        availability.NoteUnavailable();
        return false;
    }
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

bool Endpoint::IsOnBus() const noexcept
{
    return configuration.socketPath.empty();
}

void Endpoint::ProbeOwner()
{
    const auto interfaceName = availability.TryGetAnyRequired();
    if (interfaceName && connector.TryGet())
    {
        // What it finds out is noted.
        static_cast<void>(IsProvided(*interfaceName));
    }
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
    const auto& sought = recovery.requiredInterfaces;
    const bool isComplete =
        std::all_of(sought.begin(), sought.end(), [this](const BasicString& name) { return IsProvided(name); });
    return isComplete && availability.TryEndRecovery(recovery);
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
void Endpoint::AskForProperties(const BasicString& interfaceName)
{
    const BasicString busInterfaceName = GetBusInterfaceName(interfaceName);
    const ClientRequest request{.destination = nullptr,
                                .objectPath = objectPath.c_str(),
                                .interfaceName = "org.freedesktop.DBus.Properties",
                                .operationName = "GetAll",
                                .resultsSignature = "a{sv}",
                                .serviceName = interfaceName,
                                .place = place,
                                .timeout = configuration.readTimeout};
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
    listeners.ReportLost(configuration.providerName);
    connector.EndLoss();
    signal.Wake();
}

void Endpoint::ReportAbsent(const BasicString& interfaceName)
{
    if (availability.NoteAbsent(interfaceName))
    {
        listeners.ReportLost(configuration.providerName);
    }
}

} // namespace Oxa::System::Rsc::Internal
