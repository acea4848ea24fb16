#include "Host/Audit/AuditLog.hpp"

#include "Oxa/System/Nm/Notification.hpp"

#include <iomanip>
#include <sstream>

namespace Oxa::Host::Audit
{

void AuditLog::Write(const System::Nm::Notification& notification) const
{
    // In quotes, with a backslash before quotes, so that no text can end its field.
    const auto quote = [](const BasicString& text)
    {
        return std::quoted(text, '\'');
    };
    std::ostringstream line;
    line << System::Nm::GetNotificationKindName(notification.kind) << " source=" << quote(notification.source)
         << " user=" << quote(notification.user) << " text=" << quote(notification.text);
    for (const auto& [name, value] : notification.fields)
    {
        line << ' ' << name << '=' << quote(value);
    }
    Log(System::Commons::Diagnostics::Logging::LogLevel::Information, "{0}", line.str());
}

} // namespace Oxa::Host::Audit
