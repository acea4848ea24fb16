#pragma once

#include "Host/Audit/AuditLimiter.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

#include <chrono>

namespace Oxa::Host::Audit
{

/// Writes notifications to the log, one line each: who did what. Of the events of a kind that clients cause at will,
/// and of each user where that is known, 600 lines at once and then ten a minute: more than the trail stores, but no
/// client can flood the log. Threads: one at a time.
class AuditLog final : private System::Commons::Diagnostics::Logging::Loggable<AuditLog>
{
public:
    static constexpr unsigned burst = 600;

    void Write(const System::Nm::Notification& notification,
               AuditLimiter::Clock::time_point now = AuditLimiter::Clock::now());

private:
    AuditLimiter limiter{burst, std::chrono::seconds(6)};
};

} // namespace Oxa::Host::Audit
