#include "Oxa/System/Rsc/Internal/ServerBus.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Rsc/Internal/BusOpening.hpp"
#include "Oxa/System/Rsc/Internal/PollTimeout.hpp"

#include <exception>
#include <utility>

namespace Oxa::System::Rsc::Internal
{

using System::Commons::InvalidOperationException;
using System::Commons::Diagnostics::Logging::LogLevel;

namespace
{

/// Until the bus must have given the name.
constexpr std::chrono::seconds nameTimeout{5};
constexpr std::chrono::seconds retryPeriod{3};
/// In milliseconds. After one step sd-bus may be able to do another one without new input, which poll does not report.
constexpr int longestNameWait = 50;

} // namespace

ServerBus::ServerBus(const ServerConnection::Shared& shared, const RscServerConfiguration& configuration)
    : shared(shared), address(ResolveBusAddress(configuration.busAddress)), name(configuration.busName)
{
    if (sd_bus_service_name_is_valid(name.c_str()) <= 0)
    {
        ThrowCannotServe("that is no name on a message bus");
    }
    Connect();
    try
    {
        WaitForName();
    }
    catch (...)
    {
        connection->Close();
        throw;
    }
}

ServerBus::~ServerBus()
{
    if (connection)
    {
        connection->Close();
    }
}

void ServerBus::Process()
{
    if (!connection)
    {
        TryConnectAgain();
        return;
    }
    if (connection->Process() == ServerConnection::Stage::Ended)
    {
        Lose(connection->GetFailure());
    }
    else if (isLost && connection->HasBusName())
    {
        isLost = false;
        Log(LogLevel::Information, "'{0}' is back on the message bus '{1}'", name, address);
    }
}

pollfd ServerBus::GetPoll() const
{
    return connection ? connection->GetPoll() : pollfd{-1, 0, 0};
}

std::optional<ServerBus::TimePoint> ServerBus::GetDeadline() const noexcept
{
    return connection ? connection->GetDeadline() : nextAttempt;
}

void ServerBus::Connect()
{
    try
    {
        connection = std::make_shared<ServerConnection>(shared, OpenMessageBus(address), name);
    }
    catch (const std::exception& exception)
    {
        ThrowCannotServe(exception.what());
    }
}

void ServerBus::WaitForName()
{
    const auto deadline = std::chrono::steady_clock::now() + nameTimeout;
    while (!connection->HasBusName())
    {
        if (connection->Process() == ServerConnection::Stage::Ended)
        {
            ThrowCannotServe(connection->GetFailure());
        }
        const int timeout = GetPollTimeout(deadline, longestNameWait);
        if (timeout == 0)
        {
            ThrowCannotServe("no answer in time");
        }
        pollfd descriptor = connection->GetPoll();
        poll(&descriptor, 1, timeout);
    }
}

void ServerBus::TryConnectAgain()
{
    if (std::chrono::steady_clock::now() < nextAttempt)
    {
        return;
    }
    try
    {
        Connect();
    }
    catch (const std::exception& exception)
    {
        Lose(exception.what());
    }
}

/// `cause` is passed by value: it may be a member of the connection, which is destroyed here.
void ServerBus::Lose(BasicString cause) // NOLINT(performance-unnecessary-value-param)
{
    if (connection)
    {
        connection->Close();
        connection.reset();
    }
    nextAttempt = std::chrono::steady_clock::now() + retryPeriod;
    if (!std::exchange(isLost, true))
    {
        Log(LogLevel::Warning, "'{0}' is not on the message bus '{1}' any more: {2}", name, address, cause);
    }
}

void ServerBus::ThrowCannotServe(const BasicString& cause) const
{
    throw InvalidOperationException::Create("cannot serve as '{0}' on the message bus '{1}': {2}", name, address,
                                            cause);
}

} // namespace Oxa::System::Rsc::Internal
