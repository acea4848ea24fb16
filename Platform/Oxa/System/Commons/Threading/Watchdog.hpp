#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Commons/Export.hpp"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Oxa::System::Commons::Threading
{

/// Ends the process when something that must not last for ever does. Threads: the owner's only.
class OXA_EXPORT Watchdog final : private Diagnostics::Logging::Loggable<Watchdog>
{
public:
    /// `message` is what the log says in the end; it must outlive this object.
    explicit Watchdog(const char* message);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// All is well.
    ~Watchdog();

    /// From now on there is that much time until the destructor. Only the first call counts. When there is no thread to
    /// watch, that is logged.
    void Start(std::chrono::seconds timeout) noexcept;

private:
    void Watch(std::chrono::seconds timeout);

    const char* message;
    std::mutex mutex;
    std::condition_variable changed;
    bool isDone = false;
    std::thread thread;
};

} // namespace Oxa::System::Commons::Threading
