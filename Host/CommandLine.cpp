#include "Host/CommandLine.hpp"

#include "Host/Audit/UtcTime.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <string_view>
#include <vector>

namespace Oxa::Host
{

using System::Um::roleNames;

namespace
{

BasicString GetDefaultStateFolder()
{
    // The folder that systemd created for the service, the first if there are several.
    const char* const folders = std::getenv("STATE_DIRECTORY");
    const std::string_view first = folders != nullptr ? folders : "";
    return BasicString(first.empty() ? "/var/lib/oxa-wbm" : first.substr(0, first.find(':')));
}

/// Adds the commands of one group, for instance those of "user".
class CommandGroup final
{
public:
    CommandGroup(CLI::App& app, CommandLine& commandLine, const char* name, const char* text)
        : group(app.add_subcommand(name, text)->require_subcommand(1)->fallthrough()), commandLine(commandLine)
    {
    }

    CLI::App* Add(const char* name, const char* text, CommandLine::Action action)
    {
        CLI::App* const command = group->add_subcommand(name, text)->fallthrough();
        command->callback([&target = commandLine, action] { target.action = action; });
        return command;
    }

    CLI::App* AddNamed(const char* name, const char* text, CommandLine::Action action)
    {
        CLI::App* const command = Add(name, text, action);
        command->add_option("NAME", commandLine.name, "The name")->required();
        return command;
    }

    void RequireRole(CLI::App* command, const char* optionName)
    {
        command
            ->add_option(optionName, commandLine.roleName,
                         "Admin (everything), Engineer (looks, restarts and resets) or Viewer (looks)")
            ->required()
            ->transform(CLI::IsMember(std::vector<BasicString>(roleNames.begin(), roleNames.end()), CLI::ignore_case));
    }

private:
    CLI::App* const group;
    CommandLine& commandLine;
};

void AddUserCommands(CLI::App& app, CommandLine& commandLine)
{
    using Action = CommandLine::Action;
    CommandGroup users(app, commandLine, "user",
                       "Manages the users. Passwords are read from standard input: one line, or from a terminal, twice "
                       "and without echo");
    users.RequireRole(users.AddNamed("add", "Adds a user", Action::AddUser), "--role");
    users.Add("list", "Lists the users, their roles and states", Action::ListUsers);
    users.RequireRole(users.AddNamed("role", "Sets a user's role", Action::SetRole), "ROLE");
    users.AddNamed("disable", "Keeps a user from logging in", Action::DisableUser);
    users.AddNamed("enable", "Lets a user log in again", Action::EnableUser);
    users.AddNamed("set-password", "Sets a user's password", Action::SetPassword);
    users.AddNamed("remove", "Removes a user", Action::RemoveUser);
}

void AddTokenCommands(CLI::App& app, CommandLine& commandLine)
{
    using Action = CommandLine::Action;
    constexpr uint32 maximumDays = 36500;
    CommandGroup tokens(app, commandLine, "token",
                        "Manages the API tokens of programs. The secret of a new one is printed once");
    CLI::App* const add = tokens.AddNamed("add", "Adds an API token", Action::AddApiToken);
    tokens.RequireRole(add, "--role");
    add->add_option("--days", commandLine.days, "Expires after so many days; without it, never")
        ->check(CLI::Range(uint32{1}, maximumDays));
    tokens.Add("list", "Lists the API tokens: name, role, created, expires, last used, added by",
               Action::ListApiTokens);
    tokens.AddNamed("remove", "Removes an API token", Action::RemoveApiToken);
}

void AddAuditCommands(CLI::App& app, CommandLine& commandLine)
{
    using Action = CommandLine::Action;
    CLI::App* const audit =
        app.add_subcommand("audit", "Shows and checks the audit trail")->require_subcommand(1)->fallthrough();
    CLI::App* const list = audit->add_subcommand("list", "Lists rows, the newest last")->fallthrough();
    list->callback([&commandLine] { commandLine.action = Action::ListAudit; });
    list->add_option("--user", commandLine.auditUserName, "Only rows of this user");
    list->add_option("--action", commandLine.auditAction, "Only rows of this action, for instance CommandExecuted")
        ->check(
            [](const BasicString& text)
            {
                return System::Nm::IsNotificationKindName(text) ? BasicString()
                                                                : "'" + text + "' is no action; oxa-wbm(8) lists them";
            });
    const auto isTime = [](const BasicString& text)
    {
        return Audit::ParseUtcTime(text) ? BasicString()
                                         : "'" + text + "' is no time like 2026-11-22 or 2026-11-22T10:30:00Z (UTC)";
    };
    list->add_option("--from", commandLine.auditFrom, "Only rows of this time (UTC) and later")->check(isTime);
    list->add_option("--to", commandLine.auditTo, "Only rows before this time")->check(isTime);
    list->add_option("--limit", commandLine.auditLimit, "At most this many, the newest")
        ->capture_default_str()
        ->check(CLI::Range(1, 100000));
    audit->add_subcommand("verify", "Checks that no row was changed, added or removed; status 1 if one was")
        ->fallthrough()
        ->callback([&commandLine] { commandLine.action = Action::VerifyAudit; });
}

} // namespace

System::Commons::CommandLineOrStatus<CommandLine> ParseCommandLine(int argc, const char* const* argv)
{
    CommandLine commandLine;
    commandLine.stateFolder = GetDefaultStateFolder();
    std::vector<BasicString> variables;

    CLI::App app("The web-based management's host. Without a command it serves until SIGTERM or SIGINT.", "oxa-wbm");
    app.set_version_flag("--version", OXA_VERSION);
    app.add_option("--config", commandLine.configurationPath, "The configuration file")->capture_default_str();
    app.add_option("--state", commandLine.stateFolder, "The folder of users and of the first password")
        ->capture_default_str();
    app.add_option("--port", commandLine.port, "The port to listen at; 0: the system picks one");
    app.add_option("--variable", variables, "NAME=VALUE: what ${NAME} in configuration files stands for")
        ->allow_extra_args(false)
        ->check(&System::Commons::FindVariableMistake);
    app.add_option("--log", commandLine.logPath, "Logs to that file instead of the configured target");
    app.add_flag("--examples", commandLine.printsExamples, "Prints address, first password and commands to try");
    bool isCheck = false;
    app.add_flag("--check", isCheck, "Checks the configuration and everything that it names, without starting");
    bool isFingerprint = false;
    app.add_flag("--fingerprint", isFingerprint, "Prints the SHA-256 of the server's certificate, and its file");
    AddUserCommands(app, commandLine);
    AddTokenCommands(app, commandLine);
    AddAuditCommands(app, commandLine);
    try
    {
        app.parse(argc, argv);
        commandLine.action = isFingerprint ? CommandLine::Action::PrintFingerprint : commandLine.action;
        commandLine.action = isCheck ? CommandLine::Action::Check : commandLine.action;
        commandLine.variables = System::Commons::SplitVariables(variables);
        return commandLine;
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? EXIT_SUCCESS : System::Commons::usageFaultStatus;
    }
}

} // namespace Oxa::Host
