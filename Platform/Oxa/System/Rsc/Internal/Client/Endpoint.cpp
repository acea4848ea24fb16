// The watch alone connects: it is idle until a service is wanted, then alternates between a pause, an attempt and a run
// that it holds until its connection hangs up. A call uses a connection of the run that is connected now, or fails at
// once. The first to notice that the run is lost, the watch or a call, ends the epoch under the lock and shuts all
// connections down, so that calls in progress end too; the watch reports it when its own connection hangs up.
//
// `mutex` guards which connections there are and the run that they belong to, never an exchange: a connection in `used`
// belongs to the thread that took it, except that any thread holding the mutex may shut it down. No code of others runs
// under the mutex, and of other locks only that of the ServiceTable is taken under it, which takes none itself.

#include "Oxa/System/Rsc/Internal/Client/Endpoint.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Commons/Threading/Backoff.hpp"
#include "Oxa/System/Rsc/IRscServiceProxyFactory.hpp"
#include "Oxa/System/Rsc/Internal/ServiceTable.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscMessageReader.hpp"
#include "Oxa/System/Rsc/RscMessageWriter.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <exception>
#include <utility>

namespace Oxa::System::Rsc
{

namespace Internal
{

using System::Commons::MutexLock;
using System::Commons::Diagnostics::Logging::LogLevel;
using System::Commons::Text::Format;
using Clock = std::chrono::steady_clock;

namespace
{

constexpr std::chrono::milliseconds shortestPause{50};
constexpr std::chrono::milliseconds longestPause{500};
/// Each uses a connection of the other process as well.
constexpr std::size_t maximumCalls = 16;
constexpr std::size_t maximumIdleConnections = 4;

constexpr const char* closed = "this process has closed its connections";

} // namespace

/// A connection while one call uses it. Idle afterwards, unless the call failed or the run is lost.
class Endpoint::Lease final
{
public:
    /// Throws NotAvailable when the endpoint is not connected, Refused when too many calls are in progress.
    explicit Lease(Endpoint& endpoint) : endpoint(endpoint), begin(Clock::now())
    {
        const MutexLock lock(endpoint.mutex);
        if (!endpoint.isConnected)
        {
            throw RscServiceException(RscFault::NotAvailable, endpoint.cause);
        }
        if (endpoint.used.size() >= maximumCalls)
        {
            throw RscServiceException::Create(RscFault::Refused, "{0} calls are in progress already", maximumCalls);
        }
        isIntact = !endpoint.idle.empty();
        if (!isIntact)
        {
            endpoint.idle.emplace_back(endpoint.configuration.socketPath);
        }
        // The most recently used one.
        connection = std::prev(endpoint.idle.end());
        endpoint.used.splice(endpoint.used.end(), endpoint.idle, connection);
        runNumber = endpoint.runNumber;
    }

    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    ~Lease()
    {
        const MutexLock lock(endpoint.mutex);
        const bool isKept = isIntact && endpoint.isConnected && endpoint.runNumber == runNumber &&
                            endpoint.idle.size() < maximumIdleConnections;
        if (isKept)
        {
            endpoint.idle.splice(endpoint.idle.end(), endpoint.used, connection);
        }
        else
        {
            endpoint.used.erase(connection);
        }
    }

    [[nodiscard]] ClientConnection& GetConnection() const noexcept
    {
        return *connection;
    }

    /// Makes sure that a new connection leads to the run that the endpoint is connected to. The process closes the
    /// watch's connection before it responds on behalf of another run, so it is enough that it is open afterwards.
    void RequireSameRun(ClientConnection::Deadline deadline)
    {
        if (isIntact)
        {
            return;
        }
        OfferedRun offered;
        try
        {
            offered = connection->ReadRun(endpoint.configuration.providerName, deadline);
        }
        catch (const RscServiceException& exception)
        {
            if (exception.GetFault() == RscFault::TimedOut)
            {
                NoteFailure(exception);
                throw;
            }
            // The watch decides whether the run is lost; the process may only have too many connections.
            const MutexLock lock(endpoint.mutex);
            const RscFault fault = IsLost() ? RscFault::NotAvailable : RscFault::Refused;
            throw RscServiceException::Create(fault, "no further connection: {0}", exception.GetMessage());
        }
        const MutexLock lock(endpoint.mutex);
        endpoint.lastResponse = Clock::now();
        isIntact = !IsLost() && offered.bootId == endpoint.run.bootId && offered.buildId == endpoint.run.buildId;
        if (!isIntact)
        {
            LoseRun("another run has begun");
            throw RscServiceException(RscFault::NotAvailable, "another run of the services has begun");
        }
    }

    [[nodiscard]] MessageHandle Exchange(sd_bus_message& request, ClientConnection::Deadline deadline)
    {
        isIntact = false;
        try
        {
            MessageHandle response = connection->Exchange(request, deadline);
            isIntact = true;
            const MutexLock lock(endpoint.mutex);
            endpoint.lastResponse = Clock::now();
            return response;
        }
        catch (const RscServiceException& exception)
        {
            NoteFailure(exception);
            throw;
        }
    }

private:
    /// Whether the run that the connection was opened for has ended, noticed by the watch or not.
    [[nodiscard]] bool IsLost() const OXA_REQUIRES(endpoint.mutex)
    {
        return !endpoint.isConnected || endpoint.runNumber != runNumber || endpoint.watched->HasHungUp();
    }

    /// A process that responds to other calls is only slow with this one.
    void NoteFailure(const RscServiceException& exception)
    {
        const MutexLock lock(endpoint.mutex);
        if (exception.GetFault() == RscFault::ConnectionLost)
        {
            LoseRun(exception.GetMessage());
        }
        else if (exception.GetFault() == RscFault::TimedOut && endpoint.lastResponse < begin)
        {
            LoseRun("the other process does not respond");
        }
    }

    void LoseRun(const BasicString& cause) OXA_REQUIRES(endpoint.mutex)
    {
        if (endpoint.isConnected && endpoint.runNumber == runNumber)
        {
            endpoint.Lose(cause);
        }
    }

    Endpoint& endpoint;
    const TimePoint begin;
    Connections::iterator connection;
    uint64 runNumber = 0;
    bool isIntact = false;
};

Endpoint::Endpoint(RscEndpointConfiguration configuration, ServiceTable& services)
    : configuration(std::move(configuration)),
      objectPath(GetObjectPath(this->configuration.providerName)),
      services(services),
      watch([this] { Watch(); })
{
}

Endpoint::~Endpoint()
{
    Close();
}

void Endpoint::Call(const BasicString& interfaceName, const RscOperation& operation,
                    const RscRemoteService::WriteFunction& writeArguments,
                    const RscRemoteService::ReadFunction& readResults)
{
    const auto timeout =
        operation.kind == RscOperationKind::Command ? configuration.commandTimeout : configuration.readTimeout;
    try
    {
        CallOnce(interfaceName, operation, Clock::now() + timeout, writeArguments, readResults);
    }
    catch (const RscServiceException& exception)
    {
        const BasicString call = Format("The call of '{0}' of the service '{1}' at '{2}'", operation.name,
                                        interfaceName, configuration.socketPath);
        if (exception.GetFault() == RscFault::TimedOut)
        {
            throw RscServiceException::Create(RscFault::TimedOut, "{0} had no response within {1} ms", call,
                                              timeout.count());
        }
        throw RscServiceException::Create(exception.GetFault(), "{0} failed: {1}", call, exception.GetMessage());
    }
}

void Endpoint::CallOnce(const BasicString& interfaceName, const RscOperation& operation, TimePoint deadline,
                        const RscRemoteService::WriteFunction& writeArguments,
                        const RscRemoteService::ReadFunction& readResults)
{
    // Outlives the messages, which belong to its bus.
    Lease lease(*this);
    lease.RequireSameRun(deadline);
    const MessageHandle request = lease.GetConnection().CreateRequest(
        objectPath.c_str(), GetBusInterfaceName(interfaceName).c_str(), operation.name);
    if (writeArguments)
    {
        RscMessageWriter writer(*request);
        writeArguments(writer);
    }
    const MessageHandle response = lease.Exchange(*request, deadline);
    if (const sd_bus_error* const error = sd_bus_message_get_error(response.get()))
    {
        ThrowBusError(*error);
    }
    if (sd_bus_message_has_signature(response.get(), operation.resultsSignature) <= 0)
    {
        throw RscServiceException(RscFault::InvalidResponse, "the response has another type than the operation");
    }
    if (readResults)
    {
        RscMessageReader reader(*response);
        readResults(reader);
    }
}

bool Endpoint::IsProvided(const BasicString& interfaceName)
{
    const auto deadline = Clock::now() + configuration.readTimeout;
    const MutexLock lock(mutex);
    isWanted = true;
    changed.NotifyAll();
    while (!isTried && !isClosed && changed.WaitUntil(mutex, deadline))
    {
    }
    return isConnected && run.interfaceNames.contains(GetBusInterfaceName(interfaceName));
}

void Endpoint::Close()
{
    {
        const MutexLock lock(mutex);
        isClosed = true;
        Lose(closed);
        cause = closed;
        changed.NotifyAll();
    }
    if (watch.joinable())
    {
        watch.join();
    }
}

void Endpoint::Watch() noexcept
{
    System::Commons::Threading::Backoff backoff(shortestPause, longestPause);
    while (WaitUntil(backoff.GetNext()))
    {
        const auto begin = Clock::now();
        backoff.Delay(begin);
        try
        {
            HoldRun();
            // A process that closes each connection soon is not asked again and again without a pause.
            if (Clock::now() - begin >= longestPause)
            {
                backoff.Reset();
            }
        }
        catch (const std::exception& exception)
        {
            NoteFailedAttempt(exception.what());
        }
        const MutexLock lock(mutex);
        watched.reset();
    }
}

/// False when the endpoint is closed.
bool Endpoint::WaitUntil(TimePoint time)
{
    const MutexLock lock(mutex);
    while (!isClosed && !isWanted)
    {
        changed.Wait(mutex);
    }
    while (!isClosed && Clock::now() < time)
    {
        changed.WaitUntil(mutex, time);
    }
    return !isClosed;
}

/// Connects, and returns when the connection is lost. Throws RscServiceException when there is no run to connect to.
void Endpoint::HoldRun()
{
    const auto deadline = Clock::now() + configuration.readTimeout;
    ClientConnection& connection = BeginAttempt();
    Begin(connection.ReadRun(GetProviderName(), deadline));
    if (!loggedCause.empty())
    {
        Log(LogLevel::Information, "the services of '{0}' are available again", GetProviderName());
        loggedCause.clear();
    }
    services.Report(GetProviderName());
    connection.WaitForHangUp();
    {
        const MutexLock lock(mutex);
        Lose("the other process has closed the connection");
        loggedCause = isClosed ? "" : "lost: " + cause;
    }
    if (!loggedCause.empty())
    {
        Log(LogLevel::Warning, "the services of '{0}' are {1}", GetProviderName(), loggedCause);
    }
    services.Report(GetProviderName());
}

ClientConnection& Endpoint::BeginAttempt()
{
    const MutexLock lock(mutex);
    return watched.emplace(configuration.socketPath);
}

void Endpoint::Begin(OfferedRun offered)
{
    const MutexLock lock(mutex);
    if (isClosed)
    {
        throw RscServiceException(RscFault::NotAvailable, cause);
    }
    services.BeginRun(GetProviderName(), offered.bootId, offered.buildId);
    run = std::move(offered);
    ++runNumber;
    isConnected = true;
    isTried = true;
    changed.NotifyAll();
}

void Endpoint::NoteFailedAttempt(const BasicString& failure)
{
    const MutexLock lock(mutex);
    isTried = true;
    changed.NotifyAll();
    if (isClosed)
    {
        return;
    }
    cause = failure;
    if (loggedCause != cause)
    {
        loggedCause = cause;
        Log(LogLevel::Warning, "the services of '{0}' at '{1}' are not available: {2}", GetProviderName(),
            configuration.socketPath, cause);
    }
}

/// Ends the run, then all connections. Nothing happens to the run when it is lost already.
void Endpoint::Lose(const BasicString& newCause)
{
    if (isConnected)
    {
        // Before any call fails because of the loss.
        services.EndRun(GetProviderName());
        isConnected = false;
        cause = newCause;
    }
    idle.clear();
    for (ClientConnection& connection : used)
    {
        connection.Shutdown();
    }
    if (watched)
    {
        watched->Shutdown();
    }
}

} // namespace Internal

RscRemoteService::RscRemoteService(std::shared_ptr<Internal::Endpoint> endpoint, const BasicString& interfaceName)
    : endpoint(std::move(endpoint)), interfaceName(interfaceName)
{
}

RscRemoteService::~RscRemoteService() = default;

void RscRemoteService::Call(const RscOperation& operation, const WriteFunction& writeArguments,
                            const ReadFunction& readResults)
{
    endpoint->Call(interfaceName, operation, writeArguments, readResults);
}

} // namespace Oxa::System::Rsc
