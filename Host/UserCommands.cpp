#include "Host/UserCommands.hpp"

#include "Host/CommandLine.hpp"
#include "Host/CommandRecord.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/PasswordInput.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Host
{

using System::Commons::ConfigurationException;
using System::Commons::InvalidOperationException;
using System::Commons::UseConfigured;
using System::Commons::Text::Format;
using System::Nm::Notification;
using System::Nm::NotificationKind;
using System::Um::UserChange;
using System::Um::UserInfo;
using System::Um::UserManager;

namespace
{

constexpr const char* notificationSource = "Host.UserCommands";

/// As it is written on the command line.
std::string_view GetCommandName(CommandLine::Action action) noexcept
{
    switch (action)
    {
    case CommandLine::Action::AddUser:
        return "user add";
    case CommandLine::Action::SetRole:
        return "user role";
    case CommandLine::Action::DisableUser:
        return "user disable";
    case CommandLine::Action::EnableUser:
        return "user enable";
    case CommandLine::Action::SetPassword:
        return "user set-password";
    case CommandLine::Action::RemoveUser:
        return "user remove";
    case CommandLine::Action::AddApiToken:
        return "token add";
    default:
        return "token remove";
    }
}

/// What a command did.
struct Change
{
    NotificationKind kind;
    /// The name of the user or of the API token, as it is stored.
    BasicString subject;
    std::vector<std::pair<BasicString, BasicString>> fields;
    /// For the caller.
    BasicString report;
    /// Of a new API token.
    BasicString secret = {};
};

Change AddUser(const CommandLine& commandLine, UserManager& users)
{
    const BasicString& name = commandLine.name;
    users.CheckNewUser(name);
    users.AddUser(name, PasswordInput(name).GetText(), commandLine.roleName);
    return {NotificationKind::UserAdded,
            name,
            {{"role", commandLine.roleName}},
            Format("added the user '{0}' with the role {1}", name, commandLine.roleName)};
}

/// Requires: `action` is one of those that change a user.
System::Um::UserChangeResult ApplyToUser(CommandLine::Action action, const CommandLine& commandLine,
                                         const BasicString& name, UserManager& users)
{
    switch (action)
    {
    case CommandLine::Action::SetRole:
        return users.ChangeUser(name, {.roleName = commandLine.roleName});
    case CommandLine::Action::DisableUser:
        return users.ChangeUser(name, {.isDisabled = true});
    case CommandLine::Action::EnableUser:
        return users.ChangeUser(name, {.isDisabled = false});
    case CommandLine::Action::SetPassword:
        return users.SetPassword(name, PasswordInput(name).GetText());
    default:
        return users.RemoveUser(name);
    }
}

Change DescribeChange(const CommandLine& commandLine, const UserInfo& before)
{
    const BasicString& name = before.name;
    switch (commandLine.action)
    {
    case CommandLine::Action::SetRole:
        return {NotificationKind::UserChanged,
                name,
                {{"role", commandLine.roleName}, {"changed", "role"}, {"before", before.roleName}},
                Format("set the role of the user '{0}' to {1}", name, commandLine.roleName)};
    case CommandLine::Action::DisableUser:
        return {NotificationKind::UserDisabled,
                name,
                {{"role", before.roleName}},
                Format("disabled the user '{0}'; sessions of the user end", name)};
    case CommandLine::Action::EnableUser:
        return {
            NotificationKind::UserEnabled, name, {{"role", before.roleName}}, Format("enabled the user '{0}'", name)};
    case CommandLine::Action::SetPassword:
        return {NotificationKind::UserChanged,
                name,
                {{"role", before.roleName}, {"changed", "password"}},
                Format("set the password of the user '{0}'; sessions of the user end", name)};
    default:
        return {NotificationKind::UserRemoved,
                name,
                {{"role", before.roleName}},
                Format("removed the user '{0}'; sessions of the user end", name)};
    }
}

/// Empty when the user does not exist.
std::optional<Change> ChangeUser(const CommandLine& commandLine, UserManager& users)
{
    const auto user = users.FindUser(commandLine.name);
    if (!user)
    {
        return std::nullopt;
    }
    const auto result = ApplyToUser(commandLine.action, commandLine, user->name, users);
    switch (result.change)
    {
    case UserChange::UnknownUser:
        return std::nullopt;
    case UserChange::LastAdmin:
        throw InvalidOperationException::Create(
            "the user '{0}' is the last active one with the role Admin: nothing was "
            "changed",
            user->name);
    case UserChange::Done:
        break;
    }
    return DescribeChange(commandLine, result.before);
}

Change AddApiToken(const CommandLine& commandLine, const BasicString& systemUserName, UserManager& users)
{
    const auto lifetime = commandLine.days ? std::optional(std::chrono::days(*commandLine.days)) : std::nullopt;
    BasicString secret = users.AddApiToken(commandLine.name, commandLine.roleName, lifetime, systemUserName);
    const BasicString days = commandLine.days ? std::to_string(*commandLine.days) : "unlimited";
    return {NotificationKind::TokenAdded,
            commandLine.name,
            {{"role", commandLine.roleName}, {"days", days}},
            Format("added the API token '{0}' with the role {1}, valid for {2} days; it is not shown again",
                   commandLine.name, commandLine.roleName, days),
            std::move(secret)};
}

std::optional<Change> RemoveApiToken(const CommandLine& commandLine, UserManager& users)
{
    const auto token = users.RemoveApiToken(commandLine.name);
    if (!token)
    {
        return std::nullopt;
    }
    return Change{NotificationKind::TokenRemoved,
                  token->name,
                  {{"role", token->roleName}},
                  Format("removed the API token '{0}'", token->name)};
}

/// Empty when the user or API token does not exist.
std::optional<Change> Execute(const CommandLine& commandLine, const BasicString& systemUserName, UserManager& users)
{
    switch (commandLine.action)
    {
    case CommandLine::Action::AddUser:
        return AddUser(commandLine, users);
    case CommandLine::Action::AddApiToken:
        return AddApiToken(commandLine, systemUserName, users);
    case CommandLine::Action::RemoveApiToken:
        return RemoveApiToken(commandLine, users);
    default:
        return ChangeUser(commandLine, users);
    }
}

void ListUsers(const UserManager& users)
{
    for (const UserInfo& user : users.GetUsers())
    {
        const char* const state = user.isDisabled           ? "disabled"
                                  : user.mustChangePassword ? "must-change-password"
                                                            : "active";
        std::cout << user.name << '\t' << user.roleName << '\t' << state << '\n';
    }
}

void ListApiTokens(const UserManager& users)
{
    const auto format = [](const std::optional<DateTime>& time)
    {
        return time ? time->ToIso8601String() : "never";
    };
    for (const auto& token : users.GetApiTokens())
    {
        std::cout << token.name << '\t' << token.roleName << '\t' << format(token.created) << '\t'
                  << format(token.expires) << '\t' << format(token.lastUsed) << '\t' << token.createdBy << '\n';
    }
}

/// Only the secret of an API token goes to standard output then, so that a shell can take it.
void Print(Change& change)
{
    if (change.secret.empty())
    {
        std::cout << change.report << '\n';
        return;
    }
    std::cerr << change.report << '\n';
    std::cout << change.secret << std::endl;
    sodium_memzero(change.secret.data(), change.secret.size());
}

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
    CheckUserDatabase(configuration.usersDatabasePath);
    const auto users = UseConfigured([&] { return std::make_unique<UserManager>(configuration.usersDatabasePath); });
    if (commandLine.action == CommandLine::Action::ListUsers)
    {
        ListUsers(*users);
        return EXIT_SUCCESS;
    }
    if (commandLine.action == CommandLine::Action::ListApiTokens)
    {
        ListApiTokens(*users);
        return EXIT_SUCCESS;
    }
    // First, so that nothing is changed without being recorded.
    CommandRecord record(configuration);
    const auto makeNotification = [&](NotificationKind kind)
    {
        return Notification{{},
                            kind,
                            notificationSource,
                            systemUserName,
                            commandLine.name,
                            {{"command", BasicString(GetCommandName(commandLine.action))}}};
    };
    record.Announce(makeNotification(NotificationKind::CommandRequested));
    std::optional<Change> change;
    try
    {
        change = Execute(commandLine, systemUserName, *users);
    }
    catch (...)
    {
        record.Announce(makeNotification(NotificationKind::CommandFailed));
        throw;
    }
    if (!change)
    {
        record.Announce(makeNotification(NotificationKind::CommandFailed));
        const bool isUser = commandLine.action != CommandLine::Action::RemoveApiToken;
        std::cerr << "oxa-wbm: there is no " << (isUser ? "user" : "API token") << " '" << commandLine.name << "'\n";
        return EXIT_FAILURE;
    }
    const Notification notification{
        {}, change->kind, notificationSource, systemUserName, change->subject, change->fields};
    StateFolder(commandLine.stateFolder).Notice(notification);
    record.Write(notification);
    Print(*change);
    return EXIT_SUCCESS;
}

} // namespace Oxa::Host
