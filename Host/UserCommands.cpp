#include "Host/UserCommands.hpp"

#include "Host/CommandLine.hpp"
#include "Host/CommandRecord.hpp"
#include "Host/Configuration/HostConfiguration.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/ProgramMain.hpp"
#include "Oxa/System/Nm/Notification.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace Oxa::Host
{

using System::Commons::ConfigurationException;
using System::Commons::InvalidOperationException;
using System::Commons::UseConfigured;
using System::Commons::Text::Format;
using System::Nm::NotificationKind;
using System::Um::UserInfo;
using System::Um::UserManager;

namespace
{

/// The terminal as it was found, where the signal handler finds it.
termios terminalBefore = {};

extern "C" void RestoreTerminalAndEnd(int signalNumber)
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
    // By now the signal's default action, as soon as this handler returns.
    raise(signalNumber);
}

/// Switches the terminal's echo off as long as it lives, or until a signal ends the process; does nothing when standard
/// input is not a terminal. One at a time.
class SilentInput final
{
public:
    SilentInput() : isTerminal(tcgetattr(STDIN_FILENO, &terminalBefore) == 0)
    {
        if (isTerminal)
        {
            SetSignalActions(&RestoreTerminalAndEnd);
            termios silent = terminalBefore;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
        }
    }

    SilentInput(const SilentInput&) = delete;
    SilentInput& operator=(const SilentInput&) = delete;

    ~SilentInput()
    {
        if (isTerminal)
        {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
            SetSignalActions(SIG_DFL);
        }
    }

    const bool isTerminal;

private:
    static void SetSignalActions(void (*handler)(int))
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT, SIGHUP})
        {
            sigaction(signalNumber, &action, nullptr);
        }
    }
};

/// A password from standard input: one line, or on a terminal, prompted for twice and without echo. Wiped in the end.
class PasswordInput final
{
public:
    /// Empty at the end of the input. Throws InvalidOperationException when the two lines differ.
    explicit PasswordInput(const BasicString& userName)
    {
        const SilentInput silent;
        Read(silent, "password for '" + userName + '\'');
        if (silent.isTerminal && PasswordInput(silent, "once more").text != text)
        {
            throw InvalidOperationException::Create("the two passwords differ: nothing was changed");
        }
    }

    PasswordInput(const PasswordInput&) = delete;
    PasswordInput& operator=(const PasswordInput&) = delete;

    ~PasswordInput()
    {
        sodium_memzero(text.data(), text.size());
    }

    /// Valid as long as the object.
    [[nodiscard]] const BasicString& GetText() const noexcept
    {
        return text;
    }

private:
    PasswordInput(const SilentInput& silent, const BasicString& prompt)
    {
        Read(silent, prompt);
    }

    void Read(const SilentInput& silent, const BasicString& prompt)
    {
        // A text that grows would leave copies behind.
        constexpr std::size_t usualBytes = 1024;
        text.reserve(usualBytes);
        std::cerr << (silent.isTerminal ? prompt + ": " : "") << std::flush;
        std::getline(std::cin, text);
        std::cerr << (silent.isTerminal ? "\n" : "");
    }

    BasicString text;
};

struct Report
{
    NotificationKind kind;
    UserInfo user;
    /// For the caller's terminal.
    BasicString report;
};

/// Empty when the user does not exist.
std::optional<Report> ChangeUser(const CommandLine& commandLine, UserManager& users)
{
    const BasicString& name = commandLine.userName;
    if (commandLine.action == CommandLine::Action::AddUser)
    {
        users.CheckNewUser(name);
        users.AddUser(name, PasswordInput(name).GetText(), commandLine.roleName);
        return Report{NotificationKind::UserAdded, UserInfo{name, commandLine.roleName},
                      Format("added the user '{0}' with the role {1}", name, commandLine.roleName)};
    }
    std::optional<UserInfo> user = users.FindUser(name);
    const bool isRemoval = commandLine.action == CommandLine::Action::RemoveUser;
    if (user)
    {
        const auto result = isRemoval ? users.RemoveUser(user->name)
                                      : users.SetPassword(user->name, PasswordInput(user->name).GetText());
        if (result.change == System::Um::UserChange::LastAdmin)
        {
            throw InvalidOperationException::Create(
                "cannot remove the user '{0}': no other active user has the role Admin", user->name);
        }
        user = result.change == System::Um::UserChange::Done ? std::optional(result.before) : std::nullopt;
    }
    if (!user)
    {
        return std::nullopt;
    }
    if (user->name == initialUserName)
    {
        // The password in the file is no longer the user's.
        StateFolder(commandLine.stateFolder).RemoveInitialPassword();
    }
    return Report{isRemoval ? NotificationKind::UserRemoved : NotificationKind::UserChanged, *user,
                  Format(isRemoval ? "removed the user '{0}'; sessions of the user end"
                                   : "set the password of the user '{0}'; sessions of the user end",
                         user->name)};
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
    const auto users = UseConfigured([&] { return std::make_unique<UserManager>(configuration.usersDatabasePath); });
    if (commandLine.action == CommandLine::Action::ListUsers)
    {
        for (const UserInfo& user : users->GetUsers())
        {
            std::cout << user.name << '\t' << user.roleName << '\n';
        }
        return EXIT_SUCCESS;
    }
    // First, so that nothing is changed without being recorded.
    CommandRecord record(configuration);
    const auto change = ChangeUser(commandLine, *users);
    if (!change)
    {
        std::cerr << "oxa-wbm: there is no user '" << commandLine.userName << "'\n";
        return EXIT_FAILURE;
    }
    std::cout << change->report << '\n';
    std::vector<std::pair<BasicString, BasicString>> fields = {{"role", change->user.roleName}};
    if (change->kind == NotificationKind::UserChanged)
    {
        fields.emplace_back("changed", "password");
    }
    record.Write({{}, change->kind, "Host.UserCommands", systemUserName, change->user.name, std::move(fields)});
    return EXIT_SUCCESS;
}

} // namespace Oxa::Host
