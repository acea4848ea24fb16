#include "Host/Watchdog.hpp"

#include <systemd/sd-daemon.h>

#include <cstdint>

namespace Oxa::Host
{

namespace
{

std::chrono::microseconds FindInterval() noexcept
{
    std::uint64_t limit = 0;
    return std::chrono::microseconds(sd_watchdog_enabled(0, &limit) > 0 ? limit / 2 : 0);
}

} // namespace

Watchdog::Watchdog(boost::asio::io_context& context) : interval(FindInterval()), timer(context) {}

void Watchdog::Start()
{
    if (interval.count() == 0)
    {
        return;
    }
    sd_notify(0, "WATCHDOG=1");
    timer.expires_after(interval);
    timer.async_wait(
        [this](const boost::system::error_code& error)
        {
            if (!error)
            {
                Start();
            }
        });
}

} // namespace Oxa::Host
