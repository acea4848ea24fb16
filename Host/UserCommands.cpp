#include "Host/UserCommands.hpp"

#include "Host/CommandLine.hpp"
#include "Host/InitialUser.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>

namespace Oxa::Host
{

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

/// Switches the terminal's echo off as long as it lives, or until a signal ends the process; nothing when standard
/// input is no terminal. One at a time.
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
            std::cerr << "password: " << std::flush;
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
            std::cerr << '\n';
        }
    }

private:
    using SignalHandler = void (*)(int);

    static void SetSignalActions(SignalHandler handler)
    {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        for (const int signalNumber : {SIGINT, SIGTERM, SIGQUIT, SIGHUP})
        {
            sigaction(signalNumber, &action, nullptr);
        }
    }

    const bool isTerminal;
};

/// One line of standard input, wiped in the end.
class EnteredPassword final
{
public:
    EnteredPassword()
    {
        const SilentInput silent;
        // So that no copies are left behind while the text grows.
        text.reserve(usualBytes);
        std::getline(std::cin, text);
    }

    EnteredPassword(const EnteredPassword&) = delete;
    EnteredPassword& operator=(const EnteredPassword&) = delete;

    ~EnteredPassword()
    {
        sodium_memzero(text.data(), text.size());
    }

    [[nodiscard]] const BasicString& GetText() const noexcept
    {
        return text;
    }

private:
    static constexpr std::size_t usualBytes = 1024;

    BasicString text;
};

int Report(bool isDone, const BasicString& userName)
{
    if (!isDone)
    {
        std::cerr << "oxa-wbm: there is no user '" << userName << "'\n";
    }
    return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}

/// The password in the file is no longer the user's.
void ForgetInitialPassword(const BasicString& userName, const StateFolder& stateFolder)
{
    if (userName == initialUserName)
    {
        stateFolder.RemoveInitialPassword();
    }
}

} // namespace

int RunUserCommand(const CommandLine& commandLine, System::Um::UserManager& users, const StateFolder& stateFolder)
{
    const BasicString& userName = commandLine.userName;
    bool isDone = true;
    switch (commandLine.action)
    {
    case CommandLine::Action::AddUser:
        users.AddUser(userName, EnteredPassword().GetText(), commandLine.roleName);
        break;
    case CommandLine::Action::RemoveUser:
        isDone = users.RemoveUser(userName);
        ForgetInitialPassword(userName, stateFolder);
        break;
    case CommandLine::Action::SetPassword:
        isDone = users.SetPassword(userName, EnteredPassword().GetText());
        ForgetInitialPassword(userName, stateFolder);
        break;
    default:
        for (const auto& user : users.GetUsers())
        {
            std::cout << user.name << '\t' << user.roleName << '\n';
        }
        break;
    }
    return Report(isDone, userName);
}

} // namespace Oxa::Host
