#include "Host/UserCommands.hpp"

#include "Host/Audit/AuditLog.hpp"
#include "Host/CommandLine.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/InitialUser.hpp"
#include "Host/PasswordInput.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Commons/Diagnostics/Logging/LogManager.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Host
{

using System::Commons::ConfigurationException;
using System::Commons::UseConfigured;
using System::Commons::Diagnostics::Logging::LogConfiguration;
using System::Commons::Diagnostics::Logging::LogManager;
using System::Commons::Text::Format;
using System::Nm::NotificationKind;
using System::Um::UserInfo;
using System::Um::UserManager;

namespace
{

/// Of the person who logged in to the machine, also when sudo changed the user since; else of the process's user.
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

/// Instead of handing files over afterwards: in a folder of another user that could be led astray by links.
void BecomeOwner(const std::filesystem::path& folder)
{
    struct stat status = {};
    if (geteuid() != 0 || stat(folder.c_str(), &status) != 0 || status.st_uid == 0)
    {
        return;
    }
    if (setgroups(1, &status.st_gid) != 0 || setgid(status.st_gid) != 0 || setuid(status.st_uid) != 0)
    {
        System::Commons::ThrowErrno(Format("cannot become the owner of '{0}'", folder.string()), errno);
    }
}

/// One command "user …".
class UserCommand final
{
public:
    UserCommand(const CommandLine& commandLine, const LogConfiguration& log, UserManager& users)
        : commandLine(commandLine), log(log), users(users)
    {
    }

    [[nodiscard]] int Run(const BasicString& systemUserName)
    {
        if (commandLine.action == CommandLine::Action::ListUsers)
        {
            for (const UserInfo& user : users.GetUsers())
            {
                std::cout << user.name << '\t' << user.roleName << '\n';
            }
            return EXIT_SUCCESS;
        }
        // First, so that nothing is changed without being recorded.
        UseConfigured([this] { LogManager::Configure(log); });
        const auto user = Change();
        if (!user)
        {
            std::cerr << "oxa-wbm: there is no user '" << commandLine.userName << "'\n";
            return EXIT_FAILURE;
        }
        std::cout << report << '\n';
        std::vector<std::pair<BasicString, BasicString>> fields = {{"role", user->roleName}};
        if (kind == NotificationKind::UserChanged)
        {
            fields.emplace_back("changed", "password");
        }
        Audit::AuditLog().Write({{}, kind, "Host.UserCommands", systemUserName, user->name, std::move(fields)});
        return EXIT_SUCCESS;
    }

private:
    /// The user that was changed; nothing when there is none of the name.
    [[nodiscard]] std::optional<UserInfo> Change()
    {
        const BasicString& name = commandLine.userName;
        if (commandLine.action == CommandLine::Action::AddUser)
        {
            users.CheckNewUser(name);
            users.AddUser(name, PasswordInput(name).GetText(), commandLine.roleName);
            kind = NotificationKind::UserAdded;
            report = Format("added the user '{0}' with the role {1}", name, commandLine.roleName);
            return UserInfo{name, commandLine.roleName};
        }
        const auto user = users.FindUser(name);
        if (!user)
        {
            return std::nullopt;
        }
        auto changed =
            commandLine.action == CommandLine::Action::RemoveUser ? Remove(user->name) : SetPassword(user->name);
        if (changed && changed->name == initialUserName)
        {
            // The password in the file is no longer the user's.
            StateFolder(commandLine.stateFolder).RemoveInitialPassword();
        }
        return changed;
    }

    [[nodiscard]] std::optional<UserInfo> Remove(const BasicString& name)
    {
        kind = NotificationKind::UserRemoved;
        report = Format("removed the user '{0}'; sessions of the user end", name);
        return users.RemoveUser(name);
    }

    [[nodiscard]] std::optional<UserInfo> SetPassword(const BasicString& name)
    {
        kind = NotificationKind::UserChanged;
        report = Format("set the password of the user '{0}'; sessions of the user end", name);
        return users.SetPassword(name, PasswordInput(name).GetText());
    }

    const CommandLine& commandLine;
    const LogConfiguration& log;
    UserManager& users;
    NotificationKind kind = NotificationKind::UserAdded;
    BasicString report;
};

} // namespace

int RunUserCommand(const CommandLine& commandLine, const Configuration::HostConfiguration& configuration)
{
    const BasicString systemUserName = GetSystemUserName();
    const std::filesystem::path path = std::filesystem::absolute(configuration.usersDatabasePath);
    BecomeOwner(path.parent_path());
    std::error_code error;
    if (std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::not_found)
    {
        throw ConfigurationException::Create(
            "there is no user database '{0}': the server makes it when it starts; look at --state and --config",
            path.string());
    }
    const auto users = UseConfigured([&] { return std::make_unique<UserManager>(configuration.usersDatabasePath); });
    LogConfiguration log = configuration.log;
    if (log.target == LogConfiguration::Target::Console)
    {
        log.target = LogConfiguration::Target::Syslog;
    }
    return UserCommand(commandLine, log, *users).Run(systemUserName);
}

} // namespace Oxa::Host
