#include "Host/UserCommands.hpp"

#include "Host/CommandLine.hpp"
#include "Host/InitialUser.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace Oxa::Host
{

namespace
{

/// Switches the terminal's echo off as long as it lives; nothing when standard input is no terminal.
class SilentInput final
{
public:
    SilentInput() : isTerminal(tcgetattr(STDIN_FILENO, &before) == 0)
    {
        if (isTerminal)
        {
            termios silent = before;
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
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
            std::cerr << '\n';
        }
    }

private:
    termios before = {};
    bool isTerminal;
};

BasicString ReadPassword()
{
    const SilentInput silent;
    BasicString password;
    std::getline(std::cin, password);
    return password;
}

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
        users.AddUser(userName, ReadPassword(), commandLine.roleName);
        break;
    case CommandLine::Action::RemoveUser:
        isDone = users.RemoveUser(userName);
        ForgetInitialPassword(userName, stateFolder);
        break;
    case CommandLine::Action::SetPassword:
        isDone = users.SetPassword(userName, ReadPassword());
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
