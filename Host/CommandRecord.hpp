#pragma once

#include "Host/Audit/AuditStore.hpp"
#include "Oxa/System/Commons/Types.hpp"

#include <filesystem>

namespace Oxa::System::Nm
{
struct Notification;
}

namespace Oxa::Host
{

namespace Configuration
{
struct HostConfiguration;
}

/// Of the user who logged in to the machine, also when sudo changed the user since; else of the process's user.
[[nodiscard]] BasicString GetSystemUserName();

/// When root runs the process and the folder belongs to another user: becomes that user, so that no file there becomes
/// root's. Throws InvalidOperationException when that fails.
void BecomeOwner(const std::filesystem::path& folder);

/// What commands on the machine change, in the audit trail and in the audit log: where the host logs to its standard
/// error, in syslog. Works while the host runs. Threads: one at a time.
class CommandRecord final
{
public:
    /// Throws ConfigurationException or TemporaryException, naming the cause, when log or trail cannot be written:
    /// then nothing must be changed.
    explicit CommandRecord(const Configuration::HostConfiguration& configuration);

    /// What is going to be changed, or was not changed: of a command whose outcome cannot be written, the row of its
    /// request stays. Throws as the constructor.
    void Announce(System::Nm::Notification notification);

    /// Throws as well, and then names what was changed.
    void Write(System::Nm::Notification notification);

private:
    void Append(System::Nm::Notification&& notification);

    Audit::AuditStore store;
};

} // namespace Oxa::Host
