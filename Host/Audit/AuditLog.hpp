#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"

namespace Oxa::System::Nm
{
struct Notification;
}

namespace Oxa::Host::Audit
{

/// Writes notifications to the log, one line each: who did what. Threads: safe from any thread.
class AuditLog final : private System::Commons::Diagnostics::Logging::Loggable<AuditLog>
{
public:
    void Write(const System::Nm::Notification& notification) const;
};

} // namespace Oxa::Host::Audit
