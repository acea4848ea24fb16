#include "Host/InitialUser.hpp"

#include "Host/StateFolder.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/UserManager.hpp"

#include <sodium.h>

#include <algorithm>
#include <string_view>

namespace Oxa::Host
{

namespace
{

/// 24 characters out of 31, in groups: 118 bits, without those that look alike.
BasicString CreatePassword()
{
    constexpr std::string_view alphabet = "abcdefghjkmnpqrstuvwxyz23456789";
    constexpr int groups = 4;
    constexpr int charactersPerGroup = 6;
    BasicString password;
    for (int group = 0; group < groups; ++group)
    {
        password += group == 0 ? "" : "-";
        for (int index = 0; index < charactersPerGroup; ++index)
        {
            password += alphabet[randombytes_uniform(static_cast<uint32>(alphabet.size()))];
        }
    }
    return password;
}

bool HasAdministrator(const System::Um::UserManager& users)
{
    const auto all = users.GetUsers();
    return std::any_of(all.begin(), all.end(),
                       [](const System::Um::UserInfo& user) {
                           return user.roleName == System::Um::adminRole ||
                                  System::Commons::Text::FoldCase(user.name) == initialUserName;
                       });
}

} // namespace

BasicString CreateInitialUser(System::Um::UserManager& users, const StateFolder& stateFolder)
{
    const auto lock = stateFolder.TakeLock();
    if (HasAdministrator(users))
    {
        return {};
    }
    BasicString password = CreatePassword();
    // First the file: a user whose password nobody knows would lock everybody out.
    stateFolder.WriteInitialPassword(password);
    try
    {
        users.AddUser(initialUserName, password, System::Um::adminRole);
    }
    catch (...)
    {
        stateFolder.RemoveInitialPassword();
        throw;
    }
    return password;
}

} // namespace Oxa::Host
