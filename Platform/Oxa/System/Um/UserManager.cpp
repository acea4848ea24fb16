#include "Oxa/System/Um/UserManager.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/Internal/ApiTokenUses.hpp"
#include "Oxa/System/Um/Internal/PasswordHash.hpp"
#include "Oxa/System/Um/Internal/PasswordPolicy.hpp"
#include "Oxa/System/Um/Internal/TokenTable.hpp"
#include "Oxa/System/Um/Internal/UserDatabaseFile.hpp"
#include "Oxa/System/Um/Internal/UserRecords.hpp"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <utility>

// Reading never waits for a writer and goes on where nothing can be written: the reader has a connection of its own.
// Each change opens another one and is one transaction, with all that it depends on and with its result.

namespace Oxa::System::Um
{

using Internal::SqliteConnection;
using Internal::SqliteStatement;
using Internal::SqliteTransaction;
using Internal::StoredApiToken;
using Internal::StoredUser;
using Internal::UserRecords;
using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;
namespace Text = System::Commons::Text;

namespace
{

constexpr std::size_t maximumNameBytes = 64;
constexpr std::string_view secretPrefix = "oxa_";
constexpr std::size_t secretBytes = 32;
constexpr std::chrono::days maximumApiTokenLifetime{36500};

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

void CheckRole(std::string_view roleName)
{
    if (std::ranges::find(roleNames, roleName) == roleNames.end())
    {
        throw ArgumentException::Create("roleName", roleName, "The roles are Admin, Engineer and Viewer");
    }
}

bool HasBlankEnds(std::string_view text)
{
    constexpr std::string_view blanks[] = {" ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002",
                                           "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008",
                                           "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    return std::ranges::any_of(blanks, [text](std::string_view blank)
                               { return text.starts_with(blank) || text.ends_with(blank); });
}

void CheckNewName(std::string_view parameterName, std::string_view name)
{
    if (name.empty() || name.size() > maximumNameBytes || !Text::IsPlain(name) || HasBlankEnds(name))
    {
        throw ArgumentException::Create(
            parameterName, Text::EscapeControlCharacters(Text::Truncate(name, maximumNameBytes)),
            Text::Format("It must have 1 to {0} bytes of UTF-8, no blanks at its ends and no control, direction or "
                         "zero-width characters",
                         maximumNameBytes));
    }
    if (Text::FoldCase(name).starts_with(apiTokenUserPrefix))
    {
        throw ArgumentException::Create(parameterName, name, "It must not begin with 'token:'");
    }
}

void CheckIsNewUser(const UserRecords& records, std::string_view userName)
{
    CheckNewName("userName", userName);
    if (const auto* const user = records.FindSimilarUser(userName))
    {
        throw ArgumentException::Create("userName", userName, Text::Format("There is a user '{0}'", user->info.name));
    }
}

void CheckIsNewApiToken(const UserRecords& records, std::string_view name)
{
    CheckNewName("name", name);
    if (const auto* const token = records.FindSimilarApiToken(name))
    {
        throw ArgumentException::Create("name", name, Text::Format("There is an API token '{0}'", token->info.name));
    }
}

DateTime GetNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return DateTime::FromUnixTimeMicroseconds(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

bool HasExpired(const ApiTokenInfo& token)
{
    return token.expires && token.expires->GetTicks() <= GetNow().GetTicks();
}

/// Of the whole secret. It is long and random, so a fast hash without a salt suffices.
BasicString HashSecret(std::string_view secret)
{
    std::array<unsigned char, crypto_generichash_BYTES> hash{};
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(secret.data()), secret.size(),
                       nullptr, 0);
    BasicString text(2 * hash.size() + 1, '\0');
    sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
    text.pop_back();
    return text;
}

BasicString MakeSecret()
{
    constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
    std::array<unsigned char, secretBytes> bytes{};
    randombytes_buf(bytes.data(), bytes.size());
    BasicString secret(secretPrefix.size() + sodium_base64_ENCODED_LEN(secretBytes, variant), '\0');
    secretPrefix.copy(secret.data(), secretPrefix.size());
    sodium_bin2base64(secret.data() + secretPrefix.size(), secret.size() - secretPrefix.size(), bytes.data(),
                      bytes.size(), variant);
    sodium_memzero(bytes.data(), bytes.size());
    secret.pop_back();
    return secret;
}

/// The present state of a database for a change, which `Commit` makes.
class Change final
{
public:
    explicit Change(const BasicString& path)
        : connection(Internal::OpenUserDatabaseForWriting(path)),
          transaction(connection, SqliteTransaction::Kind::Write),
          records((Internal::UpdateTables(connection, path), Internal::ReadUserRecords(connection, path)))
    {
    }

    [[nodiscard]] const UserRecords& GetRecords() const noexcept
    {
        return records;
    }

    template <class... Parameters>
    void Execute(const char* sql, const Parameters&... parameters)
    {
        SqliteStatement(connection, sql).Run([] {}, parameters...);
    }

    void Commit()
    {
        transaction.Commit();
    }

private:
    SqliteConnection connection;
    SqliteTransaction transaction;
    const UserRecords records;
};

constexpr const char* updateUser =
    "UPDATE users SET roleName = ?2, isDisabled = ?3, passwordHash = ?4, mustChangePassword = ?5, "
    "passwordGeneration = ?6 WHERE number = ?1";

void WriteUser(Change& change, const StoredUser& user)
{
    change.Execute(updateUser, user.login.id, user.info.roleName, int64{user.info.isDisabled}, user.passwordHash,
                   int64{user.info.mustChangePassword}, user.login.passwordGeneration);
}

StoredUser Apply(StoredUser user, const UserChanges& changes, const BasicString& passwordHash)
{
    const bool isDisabling = changes.isDisabled.value_or(false) && !user.info.isDisabled;
    user.info.roleName = changes.roleName.value_or(user.info.roleName);
    user.info.isDisabled = changes.isDisabled.value_or(user.info.isDisabled);
    if (changes.password)
    {
        user.passwordHash = passwordHash;
        user.info.mustChangePassword = changes.mustChangePassword;
    }
    // Ends logins, also those of other processes.
    user.login.passwordGeneration += changes.password || isDisabling ? 1 : 0;
    return user;
}

bool IsActiveAdministrator(const UserInfo& user)
{
    return user.roleName == adminRole && !user.isDisabled;
}

} // namespace

struct UserManager::Content
{
    explicit Content(const BasicString& databasePath) : path(databasePath), reader(databasePath) {}

    [[nodiscard]] std::optional<StoredUser> FindUser(SecurityToken token)
    {
        const auto login = tokens.TryGet(token);
        const auto records = reader.Read();
        const auto* const user = login ? records->FindUser(*login) : nullptr;
        return user != nullptr ? std::optional(*user) : std::nullopt;
    }

    const BasicString path;
    Internal::UserRecordsReader reader;
    Internal::TokenTable tokens{&randombytes_random};
    Internal::ApiTokenUses uses;
};

bool UserManager::CreateDatabase(const BasicString& databasePath)
{
    return Internal::CreateUserDatabase(databasePath);
}

UserManager::UserManager(const BasicString& databasePath) : content(std::make_unique<Content>(databasePath))
{
    if (sodium_init() < 0)
    {
        throw InvalidOperationException::Create("cannot hash passwords: the machine has no source of randomness");
    }
}

UserManager::~UserManager()
{
    RecordApiTokenUse();
}

std::vector<UserInfo> UserManager::GetUsers() const
{
    const auto records = content->reader.Read();
    std::vector<UserInfo> users;
    std::ranges::transform(records->users, std::back_inserter(users), &StoredUser::info);
    return users;
}

std::optional<UserInfo> UserManager::FindUser(std::string_view userName) const
{
    const auto records = content->reader.Read();
    const auto* const user = records->FindUser(userName);
    return user != nullptr ? std::optional(user->info) : std::nullopt;
}

void UserManager::CheckNewUser(const BasicString& userName) const
{
    CheckIsNewUser(*content->reader.Read(), userName);
}

void UserManager::AddUser(const BasicString& userName, std::string_view password, std::string_view roleName,
                          bool mustChangePassword)
{
    CheckRole(roleName);
    CheckNewUser(userName);
    Internal::CheckNewPassword(userName, password);
    const BasicString hash = Internal::HashPassword(password);
    Change change(content->path);
    // Another process may have added one meanwhile.
    CheckIsNewUser(change.GetRecords(), userName);
    change.Execute("INSERT INTO users (name, passwordHash, roleName, mustChangePassword) VALUES (?, ?, ?, ?)", userName,
                   hash, roleName, int64{mustChangePassword});
    change.Commit();
}

UserChangeResult UserManager::ChangeUser(std::string_view userName, const UserChanges& changes)
{
    if (changes.roleName)
    {
        CheckRole(*changes.roleName);
    }
    if (changes.password)
    {
        Internal::CheckNewPassword(userName, *changes.password);
    }
    if (!FindUser(userName))
    {
        return {};
    }
    const BasicString hash = changes.password ? Internal::HashPassword(*changes.password) : BasicString();
    Change change(content->path);
    const auto* const before = change.GetRecords().FindUser(userName);
    if (before == nullptr)
    {
        return {};
    }
    const StoredUser after = Apply(*before, changes, hash);
    if (IsActiveAdministrator(before->info) && !IsActiveAdministrator(after.info) &&
        !change.GetRecords().HasAdministratorBeside(*before))
    {
        return {UserChange::LastAdmin, before->info};
    }
    WriteUser(change, after);
    change.Commit();
    if (after.login != before->login)
    {
        content->tokens.RemoveUser(before->login.id);
    }
    return {UserChange::Done, before->info};
}

UserChangeResult UserManager::RemoveUser(std::string_view userName)
{
    Change change(content->path);
    const auto* const user = change.GetRecords().FindUser(userName);
    if (user == nullptr)
    {
        return {};
    }
    if (IsActiveAdministrator(user->info) && !change.GetRecords().HasAdministratorBeside(*user))
    {
        return {UserChange::LastAdmin, user->info};
    }
    change.Execute("DELETE FROM users WHERE number = ?", user->login.id);
    change.Commit();
    content->tokens.RemoveUser(user->login.id);
    return {UserChange::Done, user->info};
}

bool UserManager::MayBeCredentials(std::string_view userName, std::string_view password) noexcept
{
    // Includes names and passwords that older databases may hold but that are refused for new users.
    const bool isName = !userName.empty() && userName.size() <= maximumNameBytes && Text::IsValidUtf8(userName) &&
                        std::ranges::none_of(userName, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
    return isName && !password.empty() && password.size() <= Internal::maximumPasswordBytes;
}

std::optional<SecurityToken> UserManager::LogIn(std::string_view userName, std::string_view password)
{
    // Reveals nothing about which users exist.
    if (!MayBeCredentials(userName, password))
    {
        return std::nullopt;
    }
    const auto records = content->reader.Read();
    const auto* const user = records->FindUser(userName);
    if (user == nullptr)
    {
        Internal::PretendToVerifyPassword(password);
        return std::nullopt;
    }
    if (!Internal::VerifyPassword(user->passwordHash, password) || user->info.isDisabled)
    {
        return std::nullopt;
    }
    // If the password was changed meanwhile, this login is void: it holds the generation that was verified.
    return content->tokens.Add(user->login);
}

bool UserManager::VerifyPassword(SecurityToken token, std::string_view password)
{
    const auto user = content->FindUser(token);
    if (!user || password.empty() || password.size() > Internal::maximumPasswordBytes)
    {
        Internal::PretendToVerifyPassword("-");
        return false;
    }
    return Internal::VerifyPassword(user->passwordHash, password) && !user->info.isDisabled;
}

std::optional<SecurityToken> UserManager::ChangePassword(SecurityToken token, std::string_view password,
                                                         std::string_view newPassword)
{
    const auto user = content->FindUser(token);
    if (!user || !VerifyPassword(token, password))
    {
        return std::nullopt;
    }
    if (password == newPassword)
    {
        throw ArgumentException("The argument 'newPassword' is not valid. It must differ from the present password.");
    }
    Internal::CheckNewPassword(user->info.name, newPassword);
    const BasicString hash = Internal::HashPassword(newPassword);
    Change change(content->path);
    // Another process may have changed the user since the password was verified.
    const auto* const before = change.GetRecords().FindUser(user->login);
    if (before == nullptr)
    {
        return std::nullopt;
    }
    const StoredUser after = Apply(*before, {.password = newPassword}, hash);
    WriteUser(change, after);
    change.Commit();
    content->tokens.RemoveUser(before->login.id);
    return content->tokens.Add(after.login);
}

void UserManager::LogOut(SecurityToken token) noexcept
{
    content->tokens.Remove(token);
}

std::optional<UserInfo> UserManager::TryGetUser(SecurityToken token) const
{
    const auto login = content->tokens.TryGet(token);
    if (!login)
    {
        return std::nullopt;
    }
    const auto records = content->reader.Read();
    if (login->isApiToken)
    {
        const auto* const found = records->FindApiToken(*login);
        if (found != nullptr && !HasExpired(found->info))
        {
            return UserInfo{BasicString(apiTokenUserPrefix) + found->info.name, found->info.roleName};
        }
    }
    else if (const auto* const user = records->FindUser(*login); user != nullptr && !user->info.isDisabled)
    {
        return user->info;
    }
    content->tokens.Remove(token);
    return std::nullopt;
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

BasicString UserManager::AddApiToken(const BasicString& name, std::string_view roleName,
                                     std::optional<std::chrono::days> lifetime, std::string_view createdBy)
{
    CheckRole(roleName);
    if (lifetime && (*lifetime < std::chrono::days(1) || *lifetime > maximumApiTokenLifetime))
    {
        throw ArgumentException::Create("lifetime", lifetime->count(), "It must be 1 to 36500 days");
    }
    Change change(content->path);
    CheckIsNewApiToken(change.GetRecords(), name);
    const int64 created = GetNow().ToUnixTimeMicroseconds();
    std::optional<int64> expires;
    if (lifetime)
    {
        expires = created + std::chrono::microseconds(*lifetime).count();
    }
    BasicString secret = MakeSecret();
    change.Execute("INSERT INTO apiTokens (name, secretHash, roleName, created, expires, createdBy) "
                   "VALUES (?, ?, ?, ?, ?, ?)",
                   name, HashSecret(secret), roleName, created, expires, createdBy);
    change.Commit();
    return secret;
}

std::vector<ApiTokenInfo> UserManager::GetApiTokens() const
{
    const auto records = content->reader.Read();
    const auto uses = content->uses.Get();
    std::vector<ApiTokenInfo> tokens;
    for (const StoredApiToken& each : records->apiTokens)
    {
        tokens.push_back(each.info);
        const auto use = uses.find(each.login.id);
        tokens.back().lastUsed = use != uses.end() ? use->second : each.info.lastUsed;
    }
    return tokens;
}

std::optional<ApiTokenInfo> UserManager::RemoveApiToken(std::string_view name)
{
    Change change(content->path);
    const auto* const token = change.GetRecords().FindApiToken(name);
    if (token == nullptr)
    {
        return std::nullopt;
    }
    change.Execute("DELETE FROM apiTokens WHERE number = ?", token->login.id);
    change.Commit();
    return token->info;
}

std::optional<SecurityToken> UserManager::LogInWithApiToken(std::string_view secret)
{
    if (!secret.starts_with(secretPrefix))
    {
        return std::nullopt;
    }
    const auto records = content->reader.Read();
    const auto* const found = records->FindApiTokenOfSecret(HashSecret(secret));
    if (found == nullptr || HasExpired(found->info))
    {
        return std::nullopt;
    }
    content->uses.Note(found->login.id, GetNow());
    return content->tokens.FindOrAdd(found->login);
}

void UserManager::RecordApiTokenUse() noexcept
{
    try
    {
        content->uses.Record(content->path);
    }
    catch (...)
    {
        // The next call tries again.
    }
}

} // namespace Oxa::System::Um
