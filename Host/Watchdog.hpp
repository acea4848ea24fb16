#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>

namespace Oxa::Host
{

/// Tells the service manager that the event loop still runs, twice in the time that it asks for (WATCHDOG_USEC, the
/// unit's WatchdogSec=); does nothing unless it asks. Fed by a handler of the loop itself, so that a loop that hangs
/// ends the process; a module that hangs does so in a blocking section and does not. The service manager counts from
/// READY on, so a start that takes long is no fault, and not after STOPPING. Owned by the host's main part. Threads:
/// the event loop's.
class Watchdog final
{
public:
    explicit Watchdog(boost::asio::io_context& context);

    /// Feeds it now and from now on.
    void Start();

private:
    /// 0: the service manager does not ask.
    const std::chrono::microseconds interval;
    boost::asio::steady_timer timer;
};

} // namespace Oxa::Host
