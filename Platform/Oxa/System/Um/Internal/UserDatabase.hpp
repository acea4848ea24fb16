#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Commons/Types.hpp"
#include "Oxa/System/Um/Internal/Sqlite.hpp"
#include "Oxa/System/Um/Internal/TokenTable.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::System::Um::Internal
{

/// A user as it is stored.
struct StoredUser
{
    UserInfo info;
    Login login;
    BasicString passwordHash;
};

/// The database of users. It is read over a connection that stays open and never waits for a writer. Each change opens
/// a connection of its own, so that reading goes on where nothing can be written. Each change is one transaction with
/// its result. Names are compared as UserManager documents. Threads: safe from any thread; a change may wait for the
/// disk and for another process. Throws as SqliteConnection.
class UserDatabase final
{
public:
    /// As UserManager::CreateDatabase.
    static bool Create(const BasicString& path);

    explicit UserDatabase(BasicString databasePath);

    [[nodiscard]] std::vector<UserInfo> GetUsers();
    [[nodiscard]] std::optional<StoredUser> FindUser(std::string_view userName);

    /// Nothing when the user was removed or has another password now.
    [[nodiscard]] std::optional<UserInfo> FindUser(const Login& login);

    /// False when the name is taken.
    [[nodiscard]] bool AddUser(std::string_view userName, std::string_view passwordHash, std::string_view roleName);

    /// The user before the change; nothing for an unknown name.
    [[nodiscard]] std::optional<StoredUser> RemoveUser(std::string_view userName);
    [[nodiscard]] std::optional<StoredUser> SetPasswordHash(std::string_view userName, std::string_view passwordHash);

private:
    template <class... Parameters>
    [[nodiscard]] std::optional<StoredUser> ChangeUser(std::string_view userName, const char* sql,
                                                       const Parameters&... parameters);

    const BasicString path;
    System::Commons::Mutex mutex;
    SqliteConnection connection OXA_GUARDED_BY(mutex);
    /// Prepared once, for it runs with every request.
    SqliteStatement userOfLogin OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Um::Internal
