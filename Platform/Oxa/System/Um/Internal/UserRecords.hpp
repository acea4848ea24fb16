#pragma once

#include "Oxa/System/Commons/Mutex.hpp"
#include "Oxa/System/Database/Sqlite.hpp"
#include "Oxa/System/Um/Internal/TokenTable.hpp"
#include "Oxa/System/Um/UserInfo.hpp"

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Oxa::System::Um::Internal
{

struct StoredUser
{
    Login login;
    BasicString passwordHash;
    UserInfo info;
};

struct StoredApiToken
{
    Login login;
    BasicString secretHash;
    ApiTokenInfo info;
};

/// What a database holds about users and API tokens, each ordered by name. What is not found is null.
struct UserRecords
{
    /// The one whose name is equal without case; of several such names only the exact one matches.
    [[nodiscard]] const StoredUser* FindUser(std::string_view name) const;
    [[nodiscard]] const StoredApiToken* FindApiToken(std::string_view name) const;

    /// The first whose name is equal without case.
    [[nodiscard]] const StoredUser* FindSimilarUser(std::string_view name) const;
    [[nodiscard]] const StoredApiToken* FindSimilarApiToken(std::string_view name) const;

    [[nodiscard]] const StoredUser* FindUser(const Login& login) const noexcept;
    [[nodiscard]] const StoredApiToken* FindApiToken(const Login& login) const noexcept;
    [[nodiscard]] const StoredApiToken* FindApiTokenOfSecret(std::string_view secretHash) const noexcept;

    /// Whether a user other than this one may log in and has the role "Admin".
    [[nodiscard]] bool HasAdministratorBeside(const StoredUser& user) const noexcept;

    std::vector<StoredUser> users;
    std::vector<StoredApiToken> apiTokens;
};

/// Requires: a transaction. A database of an older version has no API tokens and no disabled users.
[[nodiscard]] UserRecords ReadUserRecords(Database::SqliteConnection& connection, const BasicString& path);

/// Reads over one connection that stays open, and only when any process has changed the database since. Threads: safe
/// from any thread. Throws as Database::SqliteConnection.
class UserRecordsReader final
{
public:
    explicit UserRecordsReader(const BasicString& databasePath);

    /// The present state. Never null.
    [[nodiscard]] std::shared_ptr<const UserRecords> Read();

private:
    const BasicString path;
    System::Commons::Mutex mutex;
    Database::SqliteConnection connection OXA_GUARDED_BY(mutex);
    bool hasWriteAheadLog OXA_GUARDED_BY(mutex);
    std::shared_ptr<const UserRecords> records OXA_GUARDED_BY(mutex);
    /// Of the state that `records` has, or of an earlier one.
    std::optional<Database::SqliteStamp> stamp OXA_GUARDED_BY(mutex);
};

} // namespace Oxa::System::Um::Internal
