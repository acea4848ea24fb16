#pragma once

#include "Oxa/System/Commons/Export.hpp"

#include <chrono>
#include <string_view>

namespace Oxa::System::Commons::Threading
{

/// SIGTERM and SIGINT of a server. A thread that does nothing else waits for them. A signal handler would do without
/// it, but the kernel prefers the main thread for it: while that is in an uninterruptible or killable wait, such as a
/// read from a dead mount, no handler runs and no other thread is chosen. Besides, a handler makes calls of modules and
/// libraries fail with EINTR. Threads: as noted.
class OXA_EXPORT EndSignals final
{
public:
    EndSignals() = delete;

    /// Once, before the process has threads of its own: from now on the first signal makes `GetDescriptor` ready. If
    /// the process still runs `limit` after it, it ends itself with status 1. A second signal ends it at once, as by
    /// default. Throws InvalidOperationException when the process or the system has no thread or descriptor left.
    static void Watch(std::chrono::seconds limit);

    /// Ready for POLLIN from the first signal on. Valid until the process ends. Requires: `Watch` has returned. Any
    /// thread.
    [[nodiscard]] static int GetDescriptor() noexcept;

    /// Returns after the first signal. Requires: `Watch` has returned. Any thread.
    static void Wait() noexcept;

    /// Ends the process at once, without destructors, with status 1, and reports the cause on standard error unless
    /// that blocks. Takes no lock. Any thread.
    [[noreturn]] static void EndProcess(std::string_view cause) noexcept;
};

} // namespace Oxa::System::Commons::Threading
