#include "Oxa/System/Um/Internal/UserRecords.hpp"

#include "Oxa/System/Commons/Text.hpp"
#include "Oxa/System/Um/Internal/UserDatabaseFile.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Oxa::System::Um::Internal
{

using System::Commons::MutexLock;
namespace Text = System::Commons::Text;

namespace
{

constexpr const char* selectUsers = "SELECT number, passwordGeneration, passwordHash, name, roleName, isDisabled, "
                                    "mustChangePassword FROM users ORDER BY name";
constexpr const char* selectUsersOfOlderVersion =
    "SELECT number, passwordGeneration, passwordHash, name, roleName, 0, 0 FROM users ORDER BY name";
constexpr const char* selectApiTokens =
    "SELECT number, secretHash, name, roleName, created, expires, lastUsed, createdBy FROM apiTokens ORDER BY name";

std::vector<StoredUser> ReadUsers(SqliteConnection& connection, const char* sql)
{
    std::vector<StoredUser> users;
    SqliteStatement row(connection, sql);
    row.Run(
        [&]
        {
            users.push_back({{row.GetInteger(0), row.GetInteger(1)},
                             row.GetText(2),
                             {row.GetText(3), row.GetText(4), row.GetInteger(5) != 0, row.GetInteger(6) != 0}});
        });
    return users;
}

std::optional<DateTime> ToTime(const std::optional<int64>& microseconds)
{
    return microseconds ? std::optional(DateTime::FromUnixTimeMicroseconds(*microseconds)) : std::nullopt;
}

std::vector<StoredApiToken> ReadApiTokens(SqliteConnection& connection)
{
    std::vector<StoredApiToken> tokens;
    SqliteStatement row(connection, selectApiTokens);
    row.Run(
        [&]
        {
            tokens.push_back({{row.GetInteger(0), 0, true},
                              row.GetText(1),
                              {row.GetText(2), row.GetText(3), DateTime::FromUnixTimeMicroseconds(row.GetInteger(4)),
                               ToTime(row.TryGetInteger(5)), ToTime(row.TryGetInteger(6)), row.GetText(7)}});
        });
    return tokens;
}

template <class Record, class Value, class Projection>
const Record* Find(const std::vector<Record>& records, const Value& value, Projection projection)
{
    const auto found = std::ranges::find(records, value, projection);
    return found != records.end() ? &*found : nullptr;
}

template <class Record>
const Record* FindSimilar(const std::vector<Record>& records, std::size_t begin, std::string_view name)
{
    const BasicString folded = Text::FoldCase(name);
    const auto found = std::find_if(records.begin() + static_cast<std::ptrdiff_t>(begin), records.end(),
                                    [&folded](const Record& each) { return Text::FoldCase(each.info.name) == folded; });
    return found != records.end() ? &*found : nullptr;
}

template <class Record>
const Record* FindName(const std::vector<Record>& records, std::string_view name)
{
    if (const auto* const exact = Find(
            records, name, [](const Record& each) -> auto& { return each.info.name; }))
    {
        return exact;
    }
    const auto* const first = FindSimilar(records, 0, name);
    const bool isAmbiguous =
        first != nullptr && FindSimilar(records, static_cast<std::size_t>(first - records.data()) + 1, name) != nullptr;
    return isAmbiguous ? nullptr : first;
}

} // namespace

const StoredUser* UserRecords::FindUser(std::string_view name) const
{
    return FindName(users, name);
}

const StoredApiToken* UserRecords::FindApiToken(std::string_view name) const
{
    return FindName(apiTokens, name);
}

const StoredUser* UserRecords::FindSimilarUser(std::string_view name) const
{
    return FindSimilar(users, 0, name);
}

const StoredApiToken* UserRecords::FindSimilarApiToken(std::string_view name) const
{
    return FindSimilar(apiTokens, 0, name);
}

const StoredUser* UserRecords::FindUser(const Login& login) const noexcept
{
    return Find(users, login, &StoredUser::login);
}

const StoredApiToken* UserRecords::FindApiToken(const Login& login) const noexcept
{
    return Find(apiTokens, login, &StoredApiToken::login);
}

// Comparing in constant time is not necessary: who can measure it learns something about the hash, not about the
// secret.
const StoredApiToken* UserRecords::FindApiTokenOfSecret(std::string_view secretHash) const noexcept
{
    return Find(apiTokens, secretHash, &StoredApiToken::secretHash);
}

bool UserRecords::HasAdministratorBeside(const StoredUser& user) const noexcept
{
    return std::ranges::any_of(
        users, [&user](const StoredUser& each)
        { return each.login.id != user.login.id && each.info.roleName == adminRole && !each.info.isDisabled; });
}

UserRecords ReadUserRecords(SqliteConnection& connection, const BasicString& path)
{
    if (!HasPresentTables(connection, path))
    {
        return {ReadUsers(connection, selectUsersOfOlderVersion), {}};
    }
    return {ReadUsers(connection, selectUsers), ReadApiTokens(connection)};
}

UserRecordsReader::UserRecordsReader(const BasicString& databasePath)
    : path(databasePath), connection(OpenUserDatabase(path)), hasWriteAheadLog(connection.HasWriteAheadLog())
{
}

std::shared_ptr<const UserRecords> UserRecordsReader::Read()
{
    const MutexLock lock(mutex);
    // Taken before reading: a commit between the two makes the next call read again.
    const auto present = hasWriteAheadLog ? connection.TryGetStamp() : std::nullopt;
    if (records == nullptr || !present || present != stamp)
    {
        SqliteTransaction transaction(connection, SqliteTransaction::Kind::Read);
        records = std::make_shared<const UserRecords>(ReadUserRecords(connection, path));
        transaction.Commit();
        stamp = present;
    }
    return records;
}

} // namespace Oxa::System::Um::Internal
