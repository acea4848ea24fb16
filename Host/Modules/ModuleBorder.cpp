#include "Host/Modules/ModuleBorder.hpp"

#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Nm/NotificationManager.hpp"

namespace Oxa::Host::Modules
{

using System::Commons::Diagnostics::Logging::LogLevel;

ModuleBorder::ModuleBorder(System::Nm::NotificationManager& notifications) : notifications(notifications) {}

void ModuleBorder::Report(const Configuration::ModuleConfiguration& configuration, const char* operation,
                          const BasicString& cause) const
{
    Log(LogLevel::Error, "the module '{0}' of '{1}' {2}: {3}", configuration.name, configuration.libraryPath, operation,
        cause);
    notifications.Publish({{}, System::Nm::NotificationKind::ModuleFailed, "Host.Modules", {}, configuration.name, {}});
}

} // namespace Oxa::Host::Modules
