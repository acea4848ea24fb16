#include "Host/CommandRecord.hpp"

#include "Host/Audit/AuditLog.hpp"
#include "Host/Audit/AuditTrail.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Nm/Notification.hpp"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace Oxa::Host
{

using System::Commons::Diagnostics::Logging::LogConfiguration;
using System::Commons::Diagnostics::Logging::LogManager;

namespace
{

Audit::AuditStore OpenTrail(const Configuration::HostConfiguration& configuration)
{
    LogConfiguration log = configuration.log;
    if (log.target == LogConfiguration::Target::Console)
    {
        log.target = LogConfiguration::Target::Syslog;
    }
    return System::Commons::UseConfigured(
        [&]
        {
            LogManager::Configure(log);
            return Audit::AuditStore(configuration.audit.databasePath, configuration.audit.GetMaximumBytes());
        });
}

} // namespace

/// Of the user who logged in to the machine, also when sudo changed the user since; else of the process's user.
BasicString GetSystemUserName()
{
    uid_t user = static_cast<uid_t>(-1);
    std::ifstream("/proc/self/loginuid") >> user;
    if (user == static_cast<uid_t>(-1))
    {
        user = getuid();
    }
    const passwd* const entry = getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

/// Instead of changing the owner of new files: in a folder of another user a link could redirect that.
void BecomeOwner(const std::filesystem::path& folder)
{
    struct stat status = {};
    if (geteuid() != 0 || stat(folder.c_str(), &status) != 0 || status.st_uid == 0)
    {
        return;
    }
    if (setgroups(1, &status.st_gid) != 0 || setgid(status.st_gid) != 0 || setuid(status.st_uid) != 0)
    {
        System::Commons::ThrowErrno(System::Commons::Text::Format("cannot become the owner of '{0}'", folder.string()),
                                    errno);
    }
}

CommandRecord::CommandRecord(const Configuration::HostConfiguration& configuration) : store(OpenTrail(configuration)) {}

void CommandRecord::Announce(System::Nm::Notification notification)
{
    System::Commons::UseConfigured([&] { Append(std::move(notification)); });
}

void CommandRecord::Write(System::Nm::Notification notification)
{
    const BasicString subject = notification.text;
    try
    {
        Append(std::move(notification));
    }
    catch (const System::Commons::Exception& exception)
    {
        throw System::Commons::InvalidOperationException::Create(
            "'{0}' was changed, but only the request for it was recorded: {1}", subject, exception.GetMessage());
    }
}

void CommandRecord::Append(System::Nm::Notification&& notification)
{
    notification.time = Audit::GetCurrentTime();
    Audit::AuditLog().Write(notification);
    std::vector<Audit::AuditRow> rows = {Audit::MakeAuditRow(notification, Audit::ReadBootId())};
    store.Append(rows);
}

} // namespace Oxa::Host
