#include "Oxa/System/Um/UserManager.hpp"

#include "Oxa/System/Commons/InvalidOperationException.hpp"
#include "Oxa/System/Um/Internal/BuiltInRoles.hpp"
#include "Oxa/System/Um/Internal/PasswordHasher.hpp"
#include "Oxa/System/Um/Internal/TokenTable.hpp"
#include "Oxa/System/Um/Internal/UserReader.hpp"
#include "Oxa/System/Um/Internal/UserRules.hpp"
#include "Oxa/System/Um/Internal/UserWriter.hpp"

#include <sodium.h>

namespace Oxa::System::Um
{

using System::Commons::InvalidOperationException;

namespace
{

void RequireChangeable(const BasicString& roleName)
{
    if (Internal::IsBuiltInRole(roleName))
    {
        throw InvalidOperationException::Create("cannot change the role '{0}': it is built in", roleName);
    }
}

} // namespace

UserManager::UserManager(const BasicString& databasePath)
    : hasher(std::make_unique<Internal::PasswordHasher>()),
      writer(std::make_unique<Internal::UserWriter>(databasePath)),
      reader(std::make_unique<Internal::UserReader>(databasePath)),
      tokens(std::make_unique<Internal::TokenTable>(&randombytes_random))
{
}

UserManager::~UserManager() = default;

bool UserManager::HasUsers() const
{
    return reader->HasUsers();
}

std::vector<UserInfo> UserManager::GetUsers() const
{
    return reader->GetUsers();
}

void UserManager::AddUser(const BasicString& userName, const BasicString& password, const BasicString& roleName)
{
    Internal::CheckName("userName", userName);
    Internal::CheckPassword(password);
    Internal::CheckName("roleName", roleName);
    writer->AddUser(userName, hasher->Hash(password), roleName);
}

bool UserManager::RemoveUser(const BasicString& userName)
{
    const auto userNumber = writer->RemoveUser(userName);
    if (userNumber)
    {
        tokens->RemoveUser(*userNumber);
    }
    return userNumber.has_value();
}

bool UserManager::SetPassword(const BasicString& userName, const BasicString& password)
{
    Internal::CheckPassword(password);
    const auto userNumber = writer->SetPasswordHash(userName, hasher->Hash(password));
    if (userNumber)
    {
        tokens->RemoveUser(*userNumber);
    }
    return userNumber.has_value();
}

bool UserManager::SetRole(const BasicString& userName, const BasicString& roleName)
{
    Internal::CheckName("roleName", roleName);
    return writer->SetRole(userName, roleName);
}

std::vector<RoleInfo> UserManager::GetRoles() const
{
    return reader->GetRoles();
}

void UserManager::AddRole(const RoleInfo& role)
{
    Internal::CheckRole(role);
    writer->AddRole(role);
}

bool UserManager::SetRolePermissions(const RoleInfo& role)
{
    Internal::CheckRole(role);
    RequireChangeable(role.name);
    return writer->SetRolePermissions(role);
}

bool UserManager::RemoveRole(const BasicString& roleName)
{
    RequireChangeable(roleName);
    return writer->RemoveRole(roleName);
}

bool UserManager::MayBeCredentials(const BasicString& userName, const BasicString& password) noexcept
{
    return Internal::IsName(userName) && Internal::IsPassword(password);
}

std::optional<SecurityToken> UserManager::LogIn(const BasicString& userName, const BasicString& password)
{
    // The same for every user: it tells nothing about who exists.
    if (!MayBeCredentials(userName, password))
    {
        return std::nullopt;
    }
    const auto credentials = reader->TryGetCredentials(userName);
    if (!credentials)
    {
        hasher->Imitate(password);
        return std::nullopt;
    }
    if (!hasher->Verify(credentials->passwordHash, password))
    {
        return std::nullopt;
    }
    // A password that was changed meanwhile makes this login void: it holds the generation that was verified.
    return tokens->Add(credentials->login);
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
    auto user = reader->TryGetUser(*login);
    if (!user)
    {
        tokens->Remove(token);
    }
    return user;
}

bool UserManager::IsAuthorized(std::string_view objectName, uint32 permission, SecurityToken token) const
{
    const auto login = tokens->TryGet(token);
    if (!login)
    {
        return false;
    }
    const auto granted = reader->TryGetPermission(*login, objectName);
    return granted && (*granted & permission) == permission;
}

} // namespace Oxa::System::Um
