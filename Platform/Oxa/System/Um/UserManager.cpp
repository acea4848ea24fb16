#include "Oxa/System/Um/UserManager.hpp"

#include "Oxa/System/Commons/Exception.hpp"
#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/Internal/TokenTable.hpp"
#include "Oxa/System/Um/Internal/UserDatabaseFile.hpp"

#include <sodium.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <utility>

// The database is read over one connection that stays open, under the mutex of the content, and never waits for a
// writer. Each change opens a connection of its own without the mutex, so that reading goes on where nothing can be
// written; it is one transaction with its result. Passwords are hashed under a mutex of the process, which no other is
// taken under.

namespace Oxa::System::Um
{

using Internal::Login;
using Internal::SqliteConnection;
using Internal::SqliteStatement;
using System::Commons::ArgumentException;
using System::Commons::InvalidOperationException;
using System::Commons::Mutex;
using System::Commons::MutexLock;
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

// The widely recommended minimum for argon2id. It costs a small controller some hundredths of a second, and memory that
// it can spare for one log-in at a time.
constexpr std::size_t memoryBytes = 19 * 1024 * 1024;
constexpr unsigned long long passes = 2;

/// Held while memory for a hash is in use: the memory of a controller does not suffice for several.
Mutex hashing;

/// libsodium reports a lack of memory as a hash that does not match; this tells the two apart.
bool HasMemory()
{
    constexpr std::size_t neededBytes = memoryBytes + std::size_t{64} * 1024;
    void* const memory = mmap(nullptr, neededBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, neededBytes) == 0;
}

[[noreturn]] void ThrowOutOfMemory(std::string_view operation)
{
    throw InvalidOperationException::Create("cannot {0} a password: not enough memory", operation);
}

/// A text that holds algorithm, parameters, salt and hash. `operation` is for the error text.
BasicString Hash(const BasicString& password, const char* operation)
{
    const MutexLock lock(hashing);
    std::array<char, crypto_pwhash_STRBYTES> text{};
    if (crypto_pwhash_str_alg(text.data(), password.data(), password.size(), passes, memoryBytes,
                              crypto_pwhash_ALG_ARGON2ID13) != 0)
    {
        ThrowOutOfMemory(operation);
    }
    return text.data();
}

/// Takes as long as `Hash`, independent of the result.
bool Verify(const BasicString& hash, const BasicString& password)
{
    const MutexLock lock(hashing);
    if (crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0)
    {
        return true;
    }
    if (!HasMemory())
    {
        ThrowOutOfMemory("check");
    }
    return false;
}

// Databases of version 1 may hold names that differ only in case: then only the exact one matches.
constexpr const char* selectUserOfName = R"sql(
SELECT number, passwordGeneration, name, roleName, passwordHash FROM users
WHERE name = ?1 OR (name = ?1 COLLATE caseless AND
                    (SELECT count(*) FROM users WHERE name = ?1 COLLATE caseless) = 1)
)sql";

struct StoredUser
{
    UserInfo info;
    Login login;
    BasicString passwordHash;
};

std::optional<StoredUser> ReadUser(SqliteConnection& connection, std::string_view userName)
{
    std::optional<StoredUser> user;
    SqliteStatement find(connection, selectUserOfName);
    find.Run(
        [&] {
            user = StoredUser{
                {find.GetText(2), find.GetText(3)}, {find.GetInteger(0), find.GetInteger(1)}, find.GetText(4)};
        },
        userName);
    return user;
}

std::optional<UserInfo> ReadUser(SqliteStatement& statement, const Login& login)
{
    std::optional<UserInfo> user;
    statement.Run(
        [&] {
            user = UserInfo{statement.GetText(0), statement.GetText(1)};
        },
        login.userId, login.passwordGeneration);
    return user;
}

/// `sql` changes the user whose id is its first parameter. Returns the user before the change.
template <class... Parameters>
std::optional<StoredUser> ChangeUser(const BasicString& path, std::string_view userName, const char* sql,
                                     const Parameters&... parameters)
{
    SqliteConnection connection = Internal::OpenUserDatabaseForWriting(path);
    // Takes the write lock at once: taken later, it could be refused because what was read is out of date.
    connection.Execute("BEGIN IMMEDIATE");
    auto user = ReadUser(connection, userName);
    if (user)
    {
        SqliteStatement(connection, sql).Run([] {}, user->login.userId, parameters...);
    }
    connection.Execute("COMMIT");
    return user;
}

} // namespace

struct UserManager::Content
{
    explicit Content(const BasicString& databasePath)
        : path(databasePath),
          connection(Internal::OpenUserDatabase(path)),
          userOfLogin(connection, "SELECT name, roleName FROM users WHERE number = ? AND passwordGeneration = ?")
    {
    }

    [[nodiscard]] std::optional<StoredUser> FindUser(std::string_view userName)
    {
        const MutexLock lock(mutex);
        return ReadUser(connection, userName);
    }

    [[nodiscard]] std::optional<UserInfo> FindUser(const Login& login)
    {
        const MutexLock lock(mutex);
        return ReadUser(userOfLogin, login);
    }

    /// Also ends the logins of the user.
    template <class... Parameters>
    std::optional<UserInfo> Change(std::string_view userName, const char* sql, const Parameters&... parameters)
    {
        const auto user = ChangeUser(path, userName, sql, parameters...);
        if (!user)
        {
            return std::nullopt;
        }
        tokens.RemoveUser(user->login.userId);
        return user->info;
    }

    const BasicString path;
    Mutex mutex;
    SqliteConnection connection OXA_GUARDED_BY(mutex);
    /// Prepared once, because it runs with every request.
    SqliteStatement userOfLogin OXA_GUARDED_BY(mutex);
    Internal::TokenTable tokens{&randombytes_random};
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

UserManager::~UserManager() = default;

std::vector<UserInfo> UserManager::GetUsers() const
{
    const MutexLock lock(content->mutex);
    std::vector<UserInfo> users;
    SqliteStatement statement(content->connection, "SELECT name, roleName FROM users ORDER BY name");
    statement.Run([&] { users.push_back({statement.GetText(0), statement.GetText(1)}); });
    return users;
}

std::optional<UserInfo> UserManager::FindUser(std::string_view userName) const
{
    const auto user = content->FindUser(userName);
    return user ? std::optional(user->info) : std::nullopt;
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
    SqliteConnection connection = Internal::OpenUserDatabaseForWriting(content->path);
    SqliteStatement statement(connection, "INSERT INTO users (name, passwordHash, roleName) SELECT ?1, ?2, ?3 "
                                          "WHERE NOT EXISTS (SELECT 1 FROM users WHERE name = ?1 COLLATE caseless) "
                                          "RETURNING number");
    bool isAdded = false;
    statement.Run([&isAdded] { isAdded = true; }, userName, Hash(password, "hash"), roleName);
    if (!isAdded)
    {
        // Added by another process meanwhile, or ambiguous: several existing names differ from it only in case.
        throw ArgumentException::Create("userName", userName, "There is a user of this name");
    }
}

std::optional<UserInfo> UserManager::RemoveUser(const BasicString& userName)
{
    return content->Change(userName, "DELETE FROM users WHERE number = ?");
}

std::optional<UserInfo> UserManager::SetPassword(const BasicString& userName, const BasicString& password)
{
    CheckPassword(password);
    return content->Change(userName,
                           "UPDATE users SET passwordHash = ?2, passwordGeneration = passwordGeneration + 1 "
                           "WHERE number = ?1",
                           Hash(password, "hash"));
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
    const auto user = content->FindUser(userName);
    if (!user)
    {
        // Takes as long as `Verify`.
        (void)Hash(password, "check");
        return std::nullopt;
    }
    if (!Verify(user->passwordHash, password))
    {
        return std::nullopt;
    }
    // If the password was changed meanwhile, this login is void: it holds the generation that was verified.
    return content->tokens.Add(user->login);
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
    auto user = content->FindUser(*login);
    if (!user)
    {
        content->tokens.Remove(token);
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
