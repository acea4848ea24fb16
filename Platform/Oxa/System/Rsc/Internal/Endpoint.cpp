#include "Oxa/System/Rsc/Internal/Endpoint.hpp"

#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"
#include "Oxa/System/Rsc/Internal/ServiceListeners.hpp"
#include "Oxa/System/Rsc/Internal/WakeSignal.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

namespace
{

constexpr unsigned failuresUntilPause = 3;
constexpr std::chrono::milliseconds pauseBetweenAttempts{500};

BasicString DescribePlace(const RscEndpointConfiguration& configuration)
{
    return configuration.socketPath.empty() ? configuration.busName : configuration.socketPath;
}

} // namespace

Endpoint::Endpoint(RscEndpointConfiguration configuration, ServiceListeners& listeners)
    : configuration(std::move(configuration)),
      objectPath(GetObjectPath(this->configuration.providerName)),
      place(DescribePlace(this->configuration)),
      listeners(listeners)
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
    const Connection over = AcquireFor(request, deadline);
    try
    {
        ExchangeOn(over, request, deadline, writeArguments, readResults);
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() == RscFault::NotAvailable)
        {
            NoteMissing(interfaceName);
        }
        throw;
    }
}

bool Endpoint::IsProvided(const BasicString& interfaceName) noexcept
{
    try
    {
        if (IsSilent())
        {
            return false;
        }
        const BasicString busInterfaceName = GetBusInterfaceName(interfaceName);
        // Whoever provides an interface knows its properties, even if there are none.
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
        NoteFound(interfaceName);
        return true;
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() == RscFault::TimedOut)
        {
            NoteSilence();
        }
        NoteAway();
        return false;
    }
    catch (const std::exception&)
    {
        NoteAway();
        return false;
    }
}

void Endpoint::NoteWanted(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    wanted.insert(interfaceName);
}

void Endpoint::Close()
{
    Connection closed;
    {
        const std::lock_guard lock(mutex);
        isClosed = true;
        closed.swap(connection);
    }
    changed.notify_all();
    if (closed)
    {
        closed->Close("the connection was ended by this process");
    }
}

const BasicString& Endpoint::GetProviderName() const noexcept
{
    return configuration.providerName;
}

void Endpoint::SetWakeSignal(std::shared_ptr<WakeSignal> newSignal)
{
    const std::lock_guard lock(mutex);
    signal.swap(newSignal);
}

void Endpoint::ForgetWakeSignal(const std::shared_ptr<WakeSignal>& oldSignal)
{
    const std::lock_guard lock(mutex);
    if (signal == oldSignal)
    {
        signal.reset();
    }
}

bool Endpoint::IsOnBus() const noexcept
{
    return configuration.socketPath.empty();
}

void Endpoint::LookAtOwner()
{
    std::unique_lock lock(mutex);
    if (!connection || wanted.empty())
    {
        return;
    }
    const BasicString interfaceName = *wanted.begin();
    lock.unlock();
    // What it finds out is noted.
    static_cast<void>(IsProvided(interfaceName));
}

Endpoint::Connection Endpoint::TryGetConnection() const
{
    const std::lock_guard lock(mutex);
    return connection;
}

void Endpoint::NoteHangUp(const Connection& hungUp)
{
    hungUp->CloseUnlessWaiting();
    if (hungUp->IsLost())
    {
        NoteLost(hungUp);
    }
}

bool Endpoint::IsAway() const
{
    const std::lock_guard lock(mutex);
    return isAway;
}

bool Endpoint::TryFindAway()
{
    std::unique_lock lock(mutex);
    const uint64 seenLosses = losses;
    const std::set<BasicString> sought = wanted;
    lock.unlock();
    for (const BasicString& interfaceName : sought)
    {
        if (!IsProvided(interfaceName))
        {
            return false;
        }
    }
    lock.lock();
    const bool isComplete = losses == seenLosses && wanted == sought;
    isAway = !isComplete;
    return isComplete;
}

Endpoint::Connection Endpoint::AcquireConnection(CallDeadline deadline)
{
    std::unique_lock lock(mutex);
    for (;;)
    {
        if (isReporting)
        {
            throw RscServiceException(RscFault::ConnectionLost, "the connection is lost");
        }
        if (isClosed)
        {
            throw RscServiceException(RscFault::NotAvailable, "this process has ended its connections");
        }
        if (connection)
        {
            return connection;
        }
        if (!isConnecting)
        {
            return Reconnect(lock, deadline);
        }
        if (changed.wait_until(lock, deadline) == std::cv_status::timeout && isConnecting)
        {
            throw RscServiceException(RscFault::TimedOut, "the connection was not made in time");
        }
    }
}

Endpoint::Connection Endpoint::Reconnect(std::unique_lock<System::Commons::Mutex>& lock, CallDeadline deadline)
{
    const auto now = CallClock::now();
    if (failures >= failuresUntilPause && now < lastAttempt + pauseBetweenAttempts)
    {
        throw RscServiceException::Create(lastFault, "a moment ago, {0}", lastCause);
    }
    lastAttempt = now;
    isConnecting = true;
    lock.unlock();
    Connection made;
    std::exception_ptr failure;
    try
    {
        made = Connect(deadline);
    }
    catch (...)
    {
        failure = std::current_exception();
    }
    lock.lock();
    isConnecting = false;
    changed.notify_all();
    if (failure)
    {
        NoteFailure(failure);
        std::rethrow_exception(failure);
    }
    if (isClosed)
    {
        throw RscServiceException(RscFault::NotAvailable, "this process has ended its connections");
    }
    connection = made;
    Wake();
    return made;
}

void Endpoint::NoteFailure(const std::exception_ptr& failure)
{
    ++failures;
    try
    {
        std::rethrow_exception(failure);
    }
    catch (const RscServiceException& exception)
    {
        lastFault = exception.GetFault() == RscFault::Refused ? RscFault::Refused : RscFault::NotAvailable;
        lastCause = exception.GetMessage();
    }
    catch (...)
    {
        lastFault = RscFault::NotAvailable;
    }
}

Endpoint::Connection Endpoint::Connect(CallDeadline deadline) const
{
    if (!configuration.socketPath.empty())
    {
        return std::make_shared<ClientConnection>(ConnectToSocket(configuration.socketPath, deadline));
    }
    auto bus = std::make_shared<ClientConnection>(ConnectToBus(configuration.busAddress, deadline));
    bus->SetDestination(FindOwner(*bus, deadline));
    return bus;
}

BasicString Endpoint::FindOwner(ClientConnection& bus, CallDeadline deadline) const
{
    const BasicString serviceName = "org.freedesktop.DBus";
    const ClientRequest request{.destination = serviceName.c_str(),
                                .objectPath = "/org/freedesktop/DBus",
                                .interfaceName = serviceName.c_str(),
                                .operationName = "GetNameOwner",
                                .resultsSignature = "s",
                                .serviceName = serviceName,
                                .place = configuration.busAddress,
                                .timeout = configuration.readTimeout};
    BasicString owner;
    Internal::Exchange(
        bus, request, deadline, [this](RscMessageWriter& writer) { writer.WriteText(configuration.busName); },
        [&owner](RscMessageReader& reader) { owner = reader.ReadText(); });
    return owner;
}

Endpoint::Connection Endpoint::AcquireFor(const ClientRequest& request, CallDeadline deadline)
{
    try
    {
        return AcquireConnection(deadline);
    }
    catch (const RscServiceException& cause)
    {
        NoteAway();
        ThrowFault(request, cause);
    }
}

void Endpoint::ExchangeOn(const Connection& over, const ClientRequest& request, CallDeadline deadline,
                          const RscRemoteService::WriteFunction& writeArguments,
                          const RscRemoteService::ReadFunction& readResults)
{
    try
    {
        Exchange(*over, request, deadline, writeArguments, readResults);
    }
    catch (...)
    {
        if (over->IsLost())
        {
            NoteLost(over);
        }
        throw;
    }
}

void Endpoint::NoteLost(const Connection& lost)
{
    std::unique_lock lock(mutex);
    if (connection != lost)
    {
        return;
    }
    failures = lost->HasAnswered() ? 0 : failures + 1;
    connection.reset();
    isReporting = true;
    isAway = true;
    ++losses;
    lock.unlock();
    listeners.ReportLost(configuration.providerName);
    lock.lock();
    isReporting = false;
    Wake();
}

void Endpoint::NoteMissing(const BasicString& interfaceName)
{
    std::unique_lock lock(mutex);
    if (!missing.insert(interfaceName).second)
    {
        return;
    }
    isAway = true;
    ++losses;
    Wake();
    lock.unlock();
    listeners.ReportLost(configuration.providerName);
}

void Endpoint::NoteAway()
{
    const std::lock_guard lock(mutex);
    ++losses;
    if (!std::exchange(isAway, true))
    {
        Wake();
    }
}

void Endpoint::Wake() const noexcept
{
    if (signal)
    {
        signal->Wake();
    }
}

void Endpoint::NoteSilence()
{
    const std::lock_guard lock(mutex);
    silentUntil = CallClock::now() + pauseBetweenAttempts;
}

bool Endpoint::IsSilent() const
{
    const std::lock_guard lock(mutex);
    return CallClock::now() < silentUntil;
}

void Endpoint::NoteFound(const BasicString& interfaceName)
{
    const std::lock_guard lock(mutex);
    missing.erase(interfaceName);
}

} // namespace Oxa::System::Rsc::Internal
