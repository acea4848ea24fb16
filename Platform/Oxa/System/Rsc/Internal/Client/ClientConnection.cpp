#include "Oxa/System/Rsc/Internal/Client/ClientConnection.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Rsc/Internal/Wire/Protocol.hpp"
#include "Oxa/System/Rsc/RscServiceException.hpp"

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

namespace Oxa::System::Rsc::Internal
{

using Clock = std::chrono::steady_clock;

namespace
{

/// As long as a process on another core takes to wake up and respond. Sleeping meanwhile would cost the same again, for
/// waking up here.
constexpr std::chrono::microseconds spinTime{50};

/// Polls for a short while without sleeping. Yields to others: on a single core, to the process that is to respond.
bool IsReadySoon(pollfd& waiting) noexcept
{
    const auto end = Clock::now() + spinTime;
    while (poll(&waiting, 1, 0) == 0)
    {
        if (Clock::now() >= end)
        {
            return false;
        }
        sched_yield();
    }
    return true;
}

BasicString DescribeError(int error)
{
    return IsHangUp(error) ? "the other process has closed the connection" : std::generic_category().message(error);
}

/// True when there was something. Throws InvalidResponse.
bool CheckRuns(int result)
{
    if (result < 0)
    {
        throw RscServiceException(RscFault::InvalidResponse,
                                  "the other process does not report its services correctly");
    }
    return result > 0;
}

} // namespace

ClientConnection::ClientConnection(const BasicString& socketPath) : bus(MakeBus())
{
    System::Commons::FileDescriptor connected = MakeSocket();
    descriptor = connected.Get();
    // A connection to a Unix socket is made at once or, with EAGAIN when too many are waiting there, not at all.
    int result = connected.IsOpen() && ConnectSocket(descriptor, socketPath) == 0 ? 0 : -errno;
    result = result < 0 ? result : sd_bus_set_fd(bus.get(), descriptor, descriptor);
    if (result >= 0)
    {
        static_cast<void>(connected.Release());
        result = sd_bus_start(bus.get());
    }
    if (result < 0)
    {
        const BasicString cause = DescribeError(-result);
        throw RscServiceException(RscFault::NotAvailable, IsHangUp(-result) ? cause : "cannot connect: " + cause);
    }
}

ClientConnection::~ClientConnection() = default;

OfferedRun ClientConnection::ReadRun(const BasicString& providerName, Deadline deadline)
{
    const MessageHandle request = CreateRequest(peerPath, peerInterface, getRunsName);
    const MessageHandle response = Exchange(*request, deadline);
    sd_bus_message* const runs = response.get();
    if (const sd_bus_error* const error = sd_bus_message_get_error(runs))
    {
        throw RscServiceException::Create(RscFault::NotAvailable, "the other process does not report its services: {0}",
                                          System::Commons::Text::EscapeControlCharacters(error->name));
    }
    CheckRuns(sd_bus_message_enter_container(runs, SD_BUS_TYPE_ARRAY, runSignature));
    while (CheckRuns(sd_bus_message_enter_container(runs, SD_BUS_TYPE_STRUCT, runMembersSignature)))
    {
        const char* provider = nullptr;
        const char* bootId = nullptr;
        const char* buildId = nullptr;
        const char* interfaceName = nullptr;
        CheckRuns(sd_bus_message_read(runs, "sss", &provider, &bootId, &buildId));
        OfferedRun run{bootId, buildId, {}};
        CheckRuns(sd_bus_message_enter_container(runs, SD_BUS_TYPE_ARRAY, "s"));
        while (CheckRuns(sd_bus_message_read_basic(runs, SD_BUS_TYPE_STRING, &interfaceName)))
        {
            run.interfaceNames.emplace(interfaceName);
        }
        CheckRuns(sd_bus_message_exit_container(runs));
        CheckRuns(sd_bus_message_exit_container(runs));
        if (provider == providerName)
        {
            return run;
        }
    }
    throw RscServiceException(RscFault::NotAvailable, "the other process does not provide them");
}

MessageHandle ClientConnection::CreateRequest(const char* objectPath, const char* interfaceName, const char* operation)
{
    sd_bus_message* made = nullptr;
    const int result = sd_bus_message_new_method_call(bus.get(), &made, nullptr, objectPath, interfaceName, operation);
    if (result < 0)
    {
        throw RscServiceException::Create(RscFault::Refused, "cannot create the request: {0}",
                                          std::generic_category().message(-result));
    }
    return MessageHandle(made);
}

MessageHandle ClientConnection::Exchange(sd_bus_message& request, Deadline deadline)
{
    uint64 cookie = 0;
    const int result = sd_bus_send(bus.get(), &request, &cookie);
    if (result < 0)
    {
        const bool isLost = IsHangUp(-result) || sd_bus_is_open(bus.get()) <= 0;
        throw RscServiceException(isLost ? RscFault::ConnectionLost : RscFault::Refused, DescribeError(-result));
    }
    while (true)
    {
        MessageHandle message = Process(deadline);
        uint64 replyCookie = 0;
        if (message && sd_bus_message_get_reply_cookie(message.get(), &replyCookie) >= 0 && replyCookie == cookie)
        {
            return message;
        }
    }
}

void ClientConnection::WaitForHangUp() const noexcept
{
    pollfd waiting{descriptor, POLLRDHUP, 0};
    while (poll(&waiting, 1, -1) <= 0)
    {
    }
}

bool ClientConnection::HasHungUp() const noexcept
{
    pollfd waiting{descriptor, POLLRDHUP, 0};
    return poll(&waiting, 1, 0) != 0;
}

void ClientConnection::Shutdown() noexcept
{
    shutdown(descriptor, SHUT_RDWR);
}

/// One step: sends or reads what is there, else waits. Null when no message has become complete.
MessageHandle ClientConnection::Process(Deadline deadline)
{
    sd_bus_message* received = nullptr;
    const int result = sd_bus_process(bus.get(), &received);
    MessageHandle message(received);
    if (result < 0 || sd_bus_is_open(bus.get()) <= 0)
    {
        throw RscServiceException(RscFault::ConnectionLost, DescribeError(result < 0 ? -result : ECONNRESET));
    }
    if (result == 0)
    {
        Wait(deadline);
    }
    return message;
}

/// What has come in is processed before the deadline is checked: this process may have been suspended meanwhile.
void ClientConnection::Wait(Deadline deadline) const
{
    const int events = sd_bus_get_events(bus.get());
    pollfd waiting{descriptor, static_cast<short>(events < 0 ? POLLIN : events | POLLIN), 0};
    if (IsReadySoon(waiting))
    {
        return;
    }
    if (Clock::now() >= deadline)
    {
        throw RscServiceException(RscFault::TimedOut, "no response in time");
    }
    // After an interruption by a signal the caller looks again.
    poll(&waiting, 1, GetPollTimeout(deadline));
}

} // namespace Oxa::System::Rsc::Internal
