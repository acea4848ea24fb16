#include "Host/UserCommands.hpp"

#include "Host/CommandLine.hpp"
#include "Host/InitialUser.hpp"
#include "Host/PasswordInput.hpp"
#include "Host/StateFolder.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <cstdlib>
#include <iostream>

namespace Oxa::Host
{

namespace
{

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
        users.AddUser(userName, PasswordInput().GetText(), commandLine.roleName);
        break;
    case CommandLine::Action::RemoveUser:
        isDone = users.RemoveUser(userName);
        ForgetInitialPassword(userName, stateFolder);
        break;
    case CommandLine::Action::SetPassword:
        isDone = users.SetPassword(userName, PasswordInput().GetText());
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
