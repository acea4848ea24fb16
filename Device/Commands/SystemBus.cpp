#include "Device/Commands/SystemBus.hpp"

#include "Oxa/System/Commons/Text.hpp"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace Oxa::Device::Linux::Commands
{

using Interface::Services::AccessErrorCode;
namespace Text = System::Commons::Text;

namespace
{

using Clock = std::chrono::steady_clock;

struct CodeOfError
{
    std::string_view namePrefix;
    AccessErrorCode code;
};

constexpr CodeOfError codesOfErrors[] = {
    {SD_BUS_ERROR_ACCESS_DENIED, AccessErrorCode::AccessDenied},
    {SD_BUS_ERROR_AUTH_FAILED, AccessErrorCode::AccessDenied},
    {SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED, AccessErrorCode::AccessDenied},
    {SD_BUS_ERROR_SERVICE_UNKNOWN, AccessErrorCode::NotAvailable},
    {SD_BUS_ERROR_NAME_HAS_NO_OWNER, AccessErrorCode::NotAvailable},
    // Of the bus, when it cannot start a service.
    {"org.freedesktop.DBus.Error.Spawn.", AccessErrorCode::NotAvailable},
    {"org.freedesktop.systemd1.NoSuchUnit", AccessErrorCode::NotAvailable},
    {SD_BUS_ERROR_NO_REPLY, AccessErrorCode::TimedOut},
    {SD_BUS_ERROR_TIMEOUT, AccessErrorCode::TimedOut},
    {"org.freedesktop.DBus.Error.TimedOut", AccessErrorCode::TimedOut},
};

AccessErrorCode GetCode(std::string_view errorName)
{
    const auto* const found =
        std::find_if(std::begin(codesOfErrors), std::end(codesOfErrors),
                     [errorName](const CodeOfError& entry) { return errorName.starts_with(entry.namePrefix); });
    return found != std::end(codesOfErrors) ? found->code : AccessErrorCode::DeviceFault;
}

} // namespace

CommandResult DescribeBusFault(int error, const BasicString& action)
{
    const bool isDenied = error == EACCES || error == EPERM;
    return {isDenied ? AccessErrorCode::AccessDenied : AccessErrorCode::NotAvailable,
            Text::Format("cannot {0}: {1}", action, std::generic_category().message(error))};
}

SystemBus::SystemBus(const System::Commons::Threading::WakeEvent& stop, std::chrono::milliseconds callTimeout)
    : stop(stop), callTimeout(callTimeout)
{
}

CommandResult SystemBus::Open()
{
    sd_bus* opened = nullptr;
    const int result = sd_bus_open_system_with_description(&opened, "device commands");
    bus.reset(opened);
    return result < 0 ? DescribeBusFault(-result, "open the system bus") : CommandResult();
}

int SystemBus::KeepMessage(sd_bus_message* message, void* kept, sd_bus_error* /*error*/) noexcept
{
    static_cast<BusPointer<sd_bus_message>*>(kept)->reset(sd_bus_message_ref(message));
    return 0;
}

CommandResult SystemBus::AwaitResponse(const BusMethod& method, int sent, const BusPointer<sd_bus_message>& message)
{
    const BasicString call = Text::Format("call '{0}' of '{1}'", method.name, method.service);
    if (sent < 0)
    {
        return DescribeBusFault(-sent, call);
    }
    CommandResult result = ProcessUntil([&message] { return message != nullptr; }, callTimeout);
    const sd_bus_error* const error = result.IsSuccess() ? sd_bus_message_get_error(message.get()) : nullptr;
    if (error != nullptr)
    {
        const char* const reason = error->message != nullptr ? error->message : "no reason given";
        result = {GetCode(error->name), Text::Format("{0} ({1})", reason, error->name)};
    }
    if (!result.IsSuccess())
    {
        result.cause = Text::Format("cannot {0}: {1}", call, result.cause);
    }
    return result;
}

CommandResult SystemBus::ProcessUntil(const std::function<bool()>& isDone, std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    while (true)
    {
        const int progress = sd_bus_process(bus.get(), nullptr);
        if (progress < 0 || sd_bus_is_open(bus.get()) <= 0)
        {
            return DescribeBusFault(progress < 0 ? -progress : ECONNRESET, "keep the connection to the system bus");
        }
        if (isDone())
        {
            return {};
        }
        const auto now = Clock::now();
        if (now >= deadline)
        {
            return {AccessErrorCode::TimedOut, Text::Format("no response within {0} ms", timeout.count())};
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
        CommandResult waited = AwaitMessage(progress > 0 ? std::chrono::milliseconds::zero() : left);
        if (!waited.IsSuccess())
        {
            return waited;
        }
    }
}

CommandResult SystemBus::AwaitMessage(std::chrono::milliseconds timeout) const
{
    const int events = sd_bus_get_events(bus.get());
    if (events < 0)
    {
        return DescribeBusFault(-events, "wait for the system bus");
    }
    std::array<pollfd, 2> polled = {
        {{stop.GetDescriptor(), POLLIN, 0}, {sd_bus_get_fd(bus.get()), static_cast<short>(events), 0}}};
    if (poll(polled.data(), polled.size(), static_cast<int>(timeout.count())) < 0 && errno != EINTR)
    {
        return DescribeBusFault(errno, "wait for the system bus");
    }
    if (polled[0].revents != 0)
    {
        return {AccessErrorCode::NotAvailable, "the device services are stopping"};
    }
    return {};
}

} // namespace Oxa::Device::Linux::Commands
