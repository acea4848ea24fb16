#include "Oxa/System/Rsc/Internal/ServerBus.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <system_error>
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

BasicString GetVariable(const char* name, const BasicString& otherwise)
{
    const char* const value = secure_getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

BasicString ResolveAddress(const BasicString& address)
{
    if (address == "system")
    {
        return GetVariable("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/run/dbus/system_bus_socket");
    }
    if (address == "session")
    {
        return GetVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + GetVariable("XDG_RUNTIME_DIR", "") + "/bus");
    }
    return address;
}

} // namespace

ServerBus::ServerBus(const ServerConnection::Shared& shared, const RscServerConfiguration& configuration)
    : shared(shared), address(ResolveAddress(configuration.busAddress)), name(configuration.busName)
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

BusHandle ServerBus::Open() const
{
    sd_bus* made = nullptr;
    int result = sd_bus_new(&made);
    BusHandle bus(made);
    if (result >= 0 && (result = sd_bus_set_address(made, address.c_str())) >= 0 &&
        (result = sd_bus_set_bus_client(made, 1)) >= 0 && (result = sd_bus_negotiate_fds(made, 0)) >= 0)
    {
        result = sd_bus_start(made);
    }
    if (result < 0)
    {
        throw InvalidOperationException(std::generic_category().message(-result));
    }
    return bus;
}

void ServerBus::Connect()
{
    try
    {
        connection = std::make_shared<ServerConnection>(shared, Open(), name);
    }
    catch (const std::exception& exception)
    {
        ThrowCannotServe(exception.what());
    }
}

void ServerBus::WaitForName()
{
    const auto end = std::chrono::steady_clock::now() + nameTimeout;
    while (!connection->HasBusName())
    {
        if (connection->Process() == ServerConnection::Stage::Ended)
        {
            ThrowCannotServe(connection->GetFailure());
        }
        const auto remaining =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        if (remaining <= 0)
        {
            ThrowCannotServe("no answer in time");
        }
        pollfd descriptor = connection->GetPoll();
        // A step that was done may make another one possible that the descriptor does not tell of.
        constexpr decltype(remaining) longestWait = 50;
        poll(&descriptor, 1, static_cast<int>(std::min(remaining, longestWait)));
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

/// `cause`: may be what the connection says, which goes.
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
