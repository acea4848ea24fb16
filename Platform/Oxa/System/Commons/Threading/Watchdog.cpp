#include "Oxa/System/Commons/Threading/Watchdog.hpp"

#include <cstdlib>
#include <exception>

namespace Oxa::System::Commons::Threading
{

using Diagnostics::Logging::LogLevel;

Watchdog::Watchdog(const char* message) : message(message) {}

Watchdog::~Watchdog()
{
    {
        const std::lock_guard lock(mutex);
        isDone = true;
        changed.notify_all();
    }
    if (thread.joinable())
    {
        thread.join();
    }
}

void Watchdog::Start(std::chrono::seconds timeout) noexcept
{
    if (thread.joinable())
    {
        return;
    }
    try
    {
        thread = std::thread([this, timeout] { Watch(timeout); });
    }
    catch (const std::exception& exception)
    {
        Log(LogLevel::Error, "nothing watches over the end: {0}", exception.what());
    }
}

void Watchdog::Watch(std::chrono::seconds timeout)
{
    std::unique_lock lock(mutex);
    if (!changed.wait_for(lock, timeout, [this] { return isDone; }))
    {
        Log(LogLevel::Error, "{0}", message);
        std::_Exit(EXIT_FAILURE);
    }
}

} // namespace Oxa::System::Commons::Threading
