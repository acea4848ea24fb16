#include "Oxa/System/Um/UserManager.hpp"

#include "Oxa/System/Commons/ArgumentException.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/Internal/PasswordHasher.hpp"
#include "Oxa/System/Um/Internal/TokenTable.hpp"
#include "Oxa/System/Um/Internal/UserDatabase.hpp"

#include <sodium.h>

#include <algorithm>

namespace Oxa::System::Um
{

using System::Commons::ArgumentException;
namespace Text = System::Commons::Text;

namespace
{

constexpr std::size_t maximumNameBytes = 64;
constexpr std::size_t maximumPasswordBytes = 1024;

/// Permission bits on every object whose name begins with the prefix.
struct Role
{
    std::string_view name;
    std::string_view objectPrefix;
    uint32 permission;
};

constexpr Role roles[] = {
    {adminRole, "", 0xFFFFFFFF}, {engineerRole, "oxa.services.wbm/modules/", executePermission}, {viewerRole, "", 0}};
static_assert(std::size(roles) == roleNames.size());

bool HasBlankEnds(std::string_view text)
{
    constexpr std::string_view blanks[] = {" ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002",
                                           "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
                                           "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    return std::ranges::any_of(blanks, [text](std::string_view blank)
                               { return text.starts_with(blank) || text.ends_with(blank); });
}

bool IsPassword(std::string_view text) noexcept
{
    return !text.empty() && text.size() <= maximumPasswordBytes;
}

void CheckPassword(std::string_view text)
{
    if (!IsPassword(text))
    {
        throw ArgumentException(
            Text::Format("The argument 'password' is not valid. It must have 1 to {0} bytes.", maximumPasswordBytes));
    }
}

} // namespace

bool UserManager::CreateDatabase(const BasicString& databasePath)
{
    return Internal::UserDatabase::Create(databasePath);
}

UserManager::UserManager(const BasicString& databasePath)
    : hasher(std::make_unique<Internal::PasswordHasher>()),
      database(std::make_unique<Internal::UserDatabase>(databasePath)),
      tokens(std::make_unique<Internal::TokenTable>(&randombytes_random))
{
}

UserManager::~UserManager() = default;

std::vector<UserInfo> UserManager::GetUsers() const
{
    return database->GetUsers();
}

std::optional<UserInfo> UserManager::FindUser(std::string_view userName) const
{
    auto user = database->FindUser(userName);
    return user ? std::optional(std::move(user->info)) : std::nullopt;
}

void UserManager::CheckNewUser(const BasicString& userName) const
{
    if (userName.empty() || userName.size() > maximumNameBytes || !Text::IsPlain(userName) || HasBlankEnds(userName))
    {
        throw ArgumentException::Create(
            "userName", Text::EscapeControlCharacters(Text::Truncate(userName, maximumNameBytes)),
            Text::Format("It must have 1 to {0} bytes of UTF-8, no blanks at its ends and no control, direction or "
                         "zero-width characters",
                         maximumNameBytes));
    }
    if (const auto user = FindUser(userName))
    {
        throw ArgumentException::Create("userName", userName, Text::Format("There is a user '{0}'", user->name));
    }
}

void UserManager::AddUser(const BasicString& userName, const BasicString& password, std::string_view roleName)
{
    CheckNewUser(userName);
    CheckPassword(password);
    if (std::ranges::find(roleNames, roleName) == roleNames.end())
    {
        throw ArgumentException::Create("roleName", roleName, "The roles are Admin, Engineer and Viewer");
    }
    if (!database->AddUser(userName, hasher->Hash(password), roleName))
    {
        // Added by another process meanwhile, or ambiguous: several existing names differ from it only in case.
        throw ArgumentException::Create("userName", userName, "There is a user of this name");
    }
}

std::optional<UserInfo> UserManager::RemoveUser(const BasicString& userName)
{
    auto user = database->RemoveUser(userName);
    if (!user)
    {
        return std::nullopt;
    }
    tokens->RemoveUser(user->login.userId);
    return std::move(user->info);
}

std::optional<UserInfo> UserManager::SetPassword(const BasicString& userName, const BasicString& password)
{
    CheckPassword(password);
    auto user = database->SetPasswordHash(userName, hasher->Hash(password));
    if (!user)
    {
        return std::nullopt;
    }
    tokens->RemoveUser(user->login.userId);
    return std::move(user->info);
}

bool UserManager::MayBeCredentials(const BasicString& userName, const BasicString& password) noexcept
{
    // Includes names that older databases may hold but that are refused for new users.
    const bool isName = !userName.empty() && userName.size() <= maximumNameBytes && Text::IsValidUtf8(userName) &&
                        std::ranges::none_of(userName, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
    return isName && IsPassword(password);
}

std::optional<SecurityToken> UserManager::LogIn(const BasicString& userName, const BasicString& password)
{
    // Reveals nothing about which users exist.
    if (!MayBeCredentials(userName, password))
    {
        return std::nullopt;
    }
    const auto user = database->FindUser(userName);
    if (!user)
    {
        hasher->Imitate(password);
        return std::nullopt;
    }
    if (!hasher->Verify(user->passwordHash, password))
    {
        return std::nullopt;
    }
    // If the password was changed meanwhile, this login is void: it holds the generation that was verified.
    return tokens->Add(user->login);
}

void UserManager::LogOut(SecurityToken token) noexcept
{
    tokens->Remove(token);
}

std::optional<UserInfo> UserManager::TryGetUser(SecurityToken token) const
{
    const auto login = tokens->TryGet(token);
    if (!login)
    {
        return std::nullopt;
    }
    auto user = database->FindUser(*login);
    if (!user)
    {
        tokens->Remove(token);
    }
    return user;
}

bool UserManager::IsAuthorized(std::string_view objectName, uint32 permission, SecurityToken token) const
{
    const auto user = TryGetUser(token);
    if (!user)
    {
        return false;
    }
    const auto* const role = std::ranges::find(roles, user->roleName, &Role::name);
    const bool isGranted = role != std::end(roles) && objectName.starts_with(role->objectPrefix);
    return ((isGranted ? role->permission : 0) & permission) == permission;
}

} // namespace Oxa::System::Um
