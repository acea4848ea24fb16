#include "Oxa/System/Rsc/Internal/Client/Endpoint.hpp"

#include "Oxa/System/Commons/Threading/WakeEvent.hpp"
#include "Oxa/System/Rsc/Internal/Client/ClientConnection.hpp"
#include "Oxa/System/Rsc/Internal/ProviderRuns.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <chrono>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::MutexLock;

Endpoint::Endpoint(RscEndpointConfiguration configuration, std::shared_ptr<Commons::Threading::WakeEvent> wake,
                   ProviderRuns& runs)
    : configuration(std::move(configuration)),
      objectPath(GetObjectPath(this->configuration.providerName)),
      wake(std::move(wake)),
      runs(runs),
      cause("nothing is connected yet")
{
}

Endpoint::~Endpoint() = default;

void Endpoint::Call(const BasicString& interfaceName, const RscOperation& operation,
                    const RscRemoteService::WriteFunction& writeArguments,
                    const RscRemoteService::ReadFunction& readResults)
{
    const auto timeout =
        operation.kind == RscOperationKind::Command ? configuration.commandTimeout : configuration.readTimeout;
    const auto describe = [&]
    {
        return System::Commons::Text::Format("The call of '{0}' of the service '{1}' at '{2}'", operation.name,
                                             interfaceName, configuration.socketPath);
    };
    MutexLock lock(mutex);
    const auto used = connection;
    if (!used)
    {
        throw RscServiceException::Create(RscFault::NotAvailable, "{0} failed: {1}", describe(), cause);
    }
    lock.Unlock();
    try
    {
        const BasicString busInterfaceName = GetBusInterfaceName(interfaceName);
        used->Call({objectPath.c_str(), busInterfaceName.c_str(), operation.name, operation.resultsSignature},
                   std::chrono::steady_clock::now() + timeout, writeArguments, readResults);
    }
    catch (const RscServiceException& exception)
    {
        if (exception.GetFault() == RscFault::TimedOut)
        {
            throw RscServiceException::Create(RscFault::TimedOut, "{0} had no answer within {1} ms", describe(),
                                              timeout.count());
        }
        throw RscServiceException::Create(exception.GetFault(), "{0} failed: {1}", describe(), exception.GetMessage());
    }
}

bool Endpoint::IsProvided(const BasicString& interfaceName)
{
    MutexLock lock(mutex);
    if (!std::exchange(isWanted, true))
    {
        wake->Set();
    }
    const auto deadline = std::chrono::steady_clock::now() + configuration.readTimeout;
    while (!isTried && !isClosed && changed.WaitUntil(mutex, deadline))
    {
    }
    return connection && provided.contains(GetBusInterfaceName(interfaceName));
}

void Endpoint::Close()
{
    constexpr const char* text = "this process has ended its connections";
    std::shared_ptr<ClientConnection> closed;
    {
        const MutexLock lock(mutex);
        isClosed = true;
        cause = text;
        closed.swap(connection);
    }
    changed.NotifyAll();
    if (closed)
    {
        closed->Close(text);
    }
}

const RscEndpointConfiguration& Endpoint::GetConfiguration() const noexcept
{
    return configuration;
}

bool Endpoint::IsWanted() const
{
    const MutexLock lock(mutex);
    return isWanted;
}

std::shared_ptr<ClientConnection> Endpoint::TryGetConnection() const
{
    const MutexLock lock(mutex);
    return connection;
}

void Endpoint::SetConnection(std::shared_ptr<ClientConnection> newConnection, const BasicString& bootId,
                             const BasicString& buildId, std::set<BasicString> interfaceNames)
{
    {
        const MutexLock lock(mutex);
        // Before a caller gets the connection, so that the end of the run, when it is lost, comes after its beginning.
        runs.Begin(configuration.providerName, bootId, buildId);
        connection = std::move(newConnection);
        provided = std::move(interfaceNames);
        isTried = true;
    }
    changed.NotifyAll();
}

void Endpoint::SetDisconnected(const BasicString& newCause)
{
    // Its last owner may be this function: it is destroyed without the lock.
    std::shared_ptr<ClientConnection> lost;
    {
        const MutexLock lock(mutex);
        lost.swap(connection);
        cause = newCause;
        isTried = true;
    }
    changed.NotifyAll();
}

} // namespace Oxa::System::Rsc::Internal
