#pragma once

#include "Oxa/System/Commons/Diagnostics/Logging/Loggable.hpp"
#include "Oxa/System/Nm/Subscription.hpp"

#include <memory>

namespace Oxa::System::Nm
{
class NotificationManager;
struct Notification;
} // namespace Oxa::System::Nm

namespace Oxa::Host::Audit
{

/// Writes every notification to the log: who did what. Owned by the host's main part; writes on a thread of its own and
/// what was published until the end.
class AuditLog final : private System::Commons::Diagnostics::Logging::Loggable<AuditLog>
{
public:
    explicit AuditLog(System::Nm::NotificationManager& notifications);
    AuditLog(const AuditLog&) = delete;
    AuditLog& operator=(const AuditLog&) = delete;
    ~AuditLog();

private:
    void Write(const System::Nm::Notification& notification) const;

    std::unique_ptr<System::Nm::Subscription> subscription;
};

} // namespace Oxa::Host::Audit
