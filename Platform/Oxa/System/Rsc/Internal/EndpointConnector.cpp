#include "Oxa/System/Rsc/Internal/EndpointConnector.hpp"

#include "Oxa/System/Rsc/Internal/BusNames.hpp"
#include "Oxa/System/Rsc/Internal/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/ClientExchange.hpp"
#include "Oxa/System/Rsc/Internal/EndpointSignal.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"

#include <chrono>

namespace Oxa::System::Rsc::Internal
{

namespace
{

constexpr unsigned failuresUntilPause = 3;
constexpr std::chrono::milliseconds pauseBetweenAttempts{500};

} // namespace

EndpointConnector::EndpointConnector(const RscEndpointConfiguration& configuration, EndpointSignal& signal) noexcept
    : configuration(configuration), signal(signal)
{
}

EndpointConnector::~EndpointConnector() = default;

EndpointConnector::Connection EndpointConnector::Acquire(CallDeadline deadline)
{
    std::unique_lock lock(mutex);
    for (;;)
    {
        if (isReportingLoss)
        {
            throw RscServiceException(RscFault::ConnectionLost, "the connection is lost");
        }
        RequireOpen();
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
            throw RscServiceException(RscFault::TimedOut, connectingTimedOutText);
        }
    }
}

EndpointConnector::Connection EndpointConnector::TryGet() const
{
    const std::lock_guard lock(mutex);
    return connection;
}

bool EndpointConnector::BeginLoss(const Connection& lost)
{
    const std::lock_guard lock(mutex);
    if (connection != lost)
    {
        return false;
    }
    failures = lost->HasAnswered() ? 0 : failures + 1;
    connection.reset();
    isReportingLoss = true;
    return true;
}

void EndpointConnector::EndLoss()
{
    const std::lock_guard lock(mutex);
    isReportingLoss = false;
}

void EndpointConnector::Close()
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

EndpointConnector::Connection EndpointConnector::Reconnect(std::unique_lock<System::Commons::Mutex>& lock,
                                                           CallDeadline deadline)
{
    RequirePause(CallClock::now());
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
    lastAttempt = CallClock::now();
    changed.notify_all();
    if (failure)
    {
        NoteFailure(failure);
        std::rethrow_exception(failure);
    }
    RequireOpen();
    connection = made;
    signal.Wake();
    return made;
}

EndpointConnector::Connection EndpointConnector::Connect(CallDeadline deadline) const
{
    return std::make_shared<ClientConnection>(ConnectToSocket(configuration.socketPath, deadline));
}

void EndpointConnector::RequireOpen() const
{
    if (isClosed)
    {
        throw RscServiceException(RscFault::NotAvailable, "this process has ended its connections");
    }
}

void EndpointConnector::RequirePause(CallClock::time_point now) const
{
    if (failures >= failuresUntilPause && now < lastAttempt + pauseBetweenAttempts)
    {
        throw RscServiceException::Create(lastFault, "a moment ago, {0}", lastCause);
    }
}

void EndpointConnector::NoteFailure(const std::exception_ptr& failure)
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

} // namespace Oxa::System::Rsc::Internal
